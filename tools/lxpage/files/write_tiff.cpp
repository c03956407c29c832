// TIFF out: bilevel pages in Group 4, all others in LZW; any number of pages, with their resolution.

#include "files/page_file.h"
#include "files/tiff_handle.h"

#include <algorithm>
#include <vector>

namespace lxpage
{

namespace
{

class TiffSink : public PageSink
{
  public:
    explicit TiffSink(const std::string& path) : tiff_(openTiffHandle(path, "w", messages_))
    {
        check(tiff_ != nullptr);
    }

    void append(const Image& image) override;
    void finish() override
    {
        tiff_.reset(); // closing flushes, and reports only through the messages
        check(messages_.empty());
    }

  private:
    void check(bool ok) const
    {
        if (!ok) {
            throw PageError(ExitCode::WriteFailed, messages_.empty() ? "unknown reason" : messages_.error);
        }
    }
    void setHeader(const Image& image);
    void setPalette(const ColorPalette& palette);

    TiffMessages messages_; // before the handle that refers to it
    TiffHandle tiff_;
};

struct TiffKind {
    uint16_t bits;
    uint16_t samples;
    uint16_t photometric;
};

// Fax compression is about black on white, and its readers expect 0 to be the white.
TiffKind kindOf(uint16_t type)
{
    switch (type) {
    case IMAGE_TYPE_BW:
        return {1, 1, PHOTOMETRIC_MINISWHITE};
    case IMAGE_TYPE_16GRAY:
        return {4, 1, PHOTOMETRIC_MINISBLACK};
    case IMAGE_TYPE_256GRAY:
        return {8, 1, PHOTOMETRIC_MINISBLACK};
    case IMAGE_TYPE_256RGB:
        return {8, 1, PHOTOMETRIC_PALETTE};
    case IMAGE_TYPE_16MRGB:
        return {8, 3, PHOTOMETRIC_RGB};
    default:
        return {4, 1, PHOTOMETRIC_PALETTE};
    }
}

void TiffSink::setPalette(const ColorPalette& palette)
{
    uint16_t channels[3][256] = {};
    for (unsigned k = 0; k < palette.count; ++k) {
        for (unsigned c = 0; c < 3; ++c) {
            channels[c][k] = static_cast<uint16_t>(palette.entries[k][c] * 257);
        }
    }
    TIFFSetField(tiff_.get(), TIFFTAG_COLORMAP, channels[0], channels[1], channels[2]);
}

void TiffSink::setHeader(const Image& image)
{
    TIFF* tiff = tiff_.get();
    const TiffKind kind = kindOf(image.type());
    const bool bilevel = kind.bits == 1;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, image.width());
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, image.height());
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, kind.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, kind.samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, kind.photometric);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tiff, TIFFTAG_SOFTWARE, "lxpage");
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, bilevel ? COMPRESSION_CCITTFAX4 : COMPRESSION_LZW);
    if (kind.bits == 8 && kind.photometric != PHOTOMETRIC_PALETTE) {
        TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    }
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, bilevel ? image.height() : TIFFDefaultStripSize(tiff, 0));
    if (kind.photometric == PHOTOMETRIC_PALETTE) {
        setPalette(image.palette);
    }
    if (image.resolution.x > 0 && image.resolution.y > 0) {
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, image.resolution.x);
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, image.resolution.y);
        TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    }
}

void TiffSink::append(const Image& image)
{
    setHeader(image);
    const uint8_t flip = image.type() == IMAGE_TYPE_BW ? 0xFF : 0;
    // Predictor and encoder work in place, so that they get a copy.
    std::vector<uint8_t> row(lxCalculateBytesOf1Line(image.type(), image.width()));
    for (uint32_t y = 0; y < image.height(); ++y) {
        std::transform(image.line(y), image.line(y) + row.size(), row.data(),
                       [flip](uint8_t byte) { return static_cast<uint8_t>(byte ^ flip); });
        check(TIFFWriteScanline(tiff_.get(), row.data(), y, 0) == 1);
    }
    check(TIFFWriteDirectory(tiff_.get()) == 1);
}

} // namespace

std::unique_ptr<PageSink> createTiff(const std::string& path)
{
    return std::make_unique<TiffSink>(path);
}

} // namespace lxpage
