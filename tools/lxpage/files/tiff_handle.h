// An open TIFF file with the library's messages caught instead of printed.
#ifndef LXPAGE_FILES_TIFF_HANDLE_H
#define LXPAGE_FILES_TIFF_HANDLE_H

#include <memory>
#include <string>
#include <tiffio.h>

namespace lxpage
{

struct TiffCloser {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffHandle = std::unique_ptr<TIFF, TiffCloser>;

// What libtiff had to say: the first error, and the first warning that means damaged pixels. Everything else that it
// warns of (unknown tags, odd values it can live with) is dropped.
struct TiffMessages {
    std::string error;

    void clear() { error.clear(); }
    [[nodiscard]] bool empty() const { return error.empty(); }
};

// Opens for reading ("r") or writing ("w"); null if that fails. `messages` must outlive the handle.
TiffHandle openTiffHandle(const std::string& path, const char* mode, TiffMessages& messages);

} // namespace lxpage

#endif
