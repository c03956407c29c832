#include "files/tiff_handle.h"

#include "image.h"

#include <array>
#include <cstdio>
#include <string_view>

namespace lxpage
{

namespace
{

int note(TiffMessages& messages, const char* format, va_list arguments)
{
    if (messages.empty()) {
        std::array<char, 300> text{};
        std::vsnprintf(text.data(), text.size(), format, arguments);
        messages.error = text.data();
    }
    return 1;
}

int onError(TIFF*, void* messages, const char*, const char* format, va_list arguments)
{
    return note(*static_cast<TiffMessages*>(messages), format, arguments);
}

// The fax and JPEG decoders only warn where they have lost the thread and make up the rest of a line.
int onWarning(TIFF*, void* messages, const char* module, const char* format, va_list arguments)
{
    const std::string_view from = module ? module : "";
    if (from.starts_with("Fax") || from.starts_with("JPEG") || from.starts_with("OJPEG")) {
        return note(*static_cast<TiffMessages*>(messages), format, arguments);
    }
    return 1;
}

struct OptionsFree {
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};

} // namespace

TiffHandle openTiffHandle(const std::string& path, const char* mode, TiffMessages& messages)
{
    const std::unique_ptr<TIFFOpenOptions, OptionsFree> options(TIFFOpenOptionsAlloc());
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), static_cast<tmsize_t>(kMaxBytes));
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), onError, &messages);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), onWarning, &messages);
    return TiffHandle(TIFFOpenExt(path.c_str(), mode, options.get()));
}

} // namespace lxpage
