// PNG in: every kind, alpha and transparent colours flattened over white, 16 bits reduced to 8, interlaced or not.
//
// libpng leaves its functions by longjmp. Every stretch of calls to it therefore runs inside guard(), in a lambda that
// owns nothing, and the exception is thrown outside.

#include "files/page_file.h"
#include "files/sample_rows.h"

#include <cmath>
#include <csetjmp>
#include <cstring>
#include <new>
#include <png.h>
#include <vector>

namespace lxpage
{

namespace
{

class PngSource : public PageSource
{
  public:
    explicit PngSource(const std::string& path) : file_(openForReading(path))
    {
        png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, onError, [](png_structp, png_const_charp) {});
        info_ = png_ ? png_create_info_struct(png_) : nullptr;
        if (!info_) {
            png_destroy_read_struct(&png_, nullptr, nullptr);
            throw std::bad_alloc();
        }
    }
    ~PngSource() override { png_destroy_read_struct(&png_, &info_, nullptr); }
    PngSource(const PngSource&) = delete;
    PngSource& operator=(const PngSource&) = delete;

    Image read(unsigned index) override;

  private:
    void readHeader();
    void choosePaletteLayout();
    void readRows(Image& image);
    [[nodiscard]] Resolution readResolution() const;

    template <typename Calls>
    void guard(Calls calls)
    {
        if (setjmp(jump_) != 0) {
            throw PageError(ExitCode::Damaged, std::string("the file is truncated or damaged (") + complaint_ + ")");
        }
        calls();
    }

    static void onError(png_structp png, png_const_charp message)
    {
        auto* self = static_cast<PngSource*>(png_get_error_ptr(png));
        std::strncpy(self->complaint_, message, sizeof self->complaint_ - 1);
        std::longjmp(self->jump_, 1);
    }

    static void onRead(png_structp png, png_bytep data, size_t length)
    {
        auto* self = static_cast<PngSource*>(png_get_io_ptr(png));
        if (std::fread(data, 1, length, self->file_.get()) != length) {
            png_error(png, "the file ends too early");
        }
    }

    File file_;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    std::jmp_buf jump_{};
    char complaint_[200] = {};

    uint32_t width_ = 0;
    uint32_t height_ = 0;
    bool interlaced_ = false;
    SampleLayout layout_;
    unsigned paletteCount_ = 0;
    uint8_t palette_[256][3] = {};
};

// Leaves width_, height_ and layout_ as the rows will come, and the palette if there is one.
void PngSource::readHeader()
{
    guard([this] {
        png_set_read_fn(png_, this, onRead);
        png_set_user_limits(png_, PNG_UINT_31_MAX, PNG_UINT_31_MAX); // the tool's own limits are told more clearly
        png_read_info(png_, info_);
    });
    width_ = png_get_image_width(png_, info_);
    height_ = png_get_image_height(png_, info_);
    interlaced_ = png_get_interlace_type(png_, info_) != PNG_INTERLACE_NONE;
    const unsigned color = png_get_color_type(png_, info_);
    layout_.bits = png_get_bit_depth(png_, info_);
    if (color == PNG_COLOR_TYPE_PALETTE) {
        choosePaletteLayout();
        return;
    }
    layout_.colors = color & PNG_COLOR_MASK_COLOR ? 3 : 1;
    const bool keyed = png_get_valid(png_, info_, PNG_INFO_tRNS) != 0;
    layout_.alpha = keyed || color & PNG_COLOR_MASK_ALPHA ? Alpha::Straight : Alpha::None;
    layout_.samples = layout_.colors + (layout_.alpha == Alpha::None ? 0 : 1);
    guard([this, keyed] {
        if (keyed) {
            png_set_tRNS_to_alpha(png_); // widens gray of fewer bits to 8
        }
        png_set_scale_16(png_);
    });
    if (keyed || layout_.bits == 16) {
        layout_.bits = 8;
    }
}

void PngSource::choosePaletteLayout()
{
    png_colorp entries = nullptr;
    int count = 0;
    png_bytep alphas = nullptr;
    int alphaCount = 0;
    png_get_PLTE(png_, info_, &entries, &count);
    png_get_tRNS(png_, info_, &alphas, &alphaCount, nullptr);
    for (int k = 0; k < count; ++k) {
        const unsigned alpha = k < alphaCount ? alphas[k] : 255;
        palette_[k][0] = overWhite(entries[k].red, alpha);
        palette_[k][1] = overWhite(entries[k].green, alpha);
        palette_[k][2] = overWhite(entries[k].blue, alpha);
    }
    paletteCount_ = static_cast<unsigned>(count);
    layout_.indexed = !(layout_.bits == 1 && count == 2 && isBlackAndWhite(palette_, layout_.inverted));
}

Resolution PngSource::readResolution() const
{
    png_uint_32 x = 0;
    png_uint_32 y = 0;
    int unit = PNG_RESOLUTION_UNKNOWN;
    png_get_pHYs(png_, info_, &x, &y, &unit);
    if (unit != PNG_RESOLUTION_METER) {
        return {};
    }
    // The file counts whole dots per metre: take the whole number of dots per inch that is stored as this count, if
    // there is one.
    const auto perInch = [](png_uint_32 perMeter) {
        const double exact = perMeter * 0.0254;
        const double whole = std::round(exact);
        return std::lround(whole / 0.0254) == static_cast<long>(perMeter) ? whole : exact;
    };
    return {perInch(x), perInch(y)};
}

// Interlaced pictures come in several passes over all the lines, so that they need the whole raw picture in memory.
void PngSource::readRows(Image& image)
{
    int passes = 1;
    guard([this, &passes] {
        passes = png_set_interlace_handling(png_);
        png_read_update_info(png_, info_);
    });
    const size_t rowBytes = png_get_rowbytes(png_, info_);
    if (rowBytes != rawBytesPerLine(layout_, width_)) {
        throw PageError(ExitCode::Internal, "the decoder's lines have an unexpected size");
    }
    std::vector<uint8_t> raw(rowBytes * (interlaced_ ? height_ : 1));
    for (int pass = 0; pass < passes; ++pass) {
        for (uint32_t y = 0; y < height_; ++y) {
            uint8_t* row = raw.data() + (interlaced_ ? rowBytes * y : 0);
            guard([this, row] { png_read_row(png_, row, nullptr); });
            if (pass == passes - 1) {
                unpackRow(layout_, row, width_, image.line(y));
            }
        }
    }
    guard([this] { png_read_end(png_, nullptr); });
}

Image PngSource::read(unsigned)
{
    readHeader();
    const unsigned imageBytes = layout_.colors;
    checkPageSize(width_, height_, imageBytes + (interlaced_ ? layout_.samples : 0));
    Image image(imageTypeOf(layout_), width_, height_, readResolution());
    if (layout_.indexed) {
        setPalette(image, paletteCount_, [this](unsigned k, unsigned c) { return palette_[k][c]; });
    }
    readRows(image);
    return image;
}

} // namespace

std::unique_ptr<PageSource> openPng(const std::string& path)
{
    return std::make_unique<PngSource>(path);
}

} // namespace lxpage
