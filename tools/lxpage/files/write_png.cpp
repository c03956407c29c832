// PNG out: gray of 1, 4 or 8 bits, palette or RGB, with the resolution.
//
// libpng leaves its functions by longjmp. Every stretch of calls to it therefore runs inside guard(), in a lambda that
// owns nothing, and the exception is thrown outside.

#include "files/page_file.h"

#include <cerrno>
#include <cmath>
#include <csetjmp>
#include <cstring>
#include <new>
#include <png.h>

namespace lxpage
{

namespace
{

// Bilevel pages are small. The others are large and noisy: higher levels take far longer and save little.
constexpr int kBilevelCompression = 9;
constexpr int kCompression = 3;

class PngSink : public PageSink
{
  public:
    explicit PngSink(const std::string& path) : file_(std::fopen(path.c_str(), "wb"))
    {
        if (!file_) {
            throwErrno(ExitCode::WriteFailed);
        }
        png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, onError, [](png_structp, png_const_charp) {});
        info_ = png_ ? png_create_info_struct(png_) : nullptr;
        if (!info_) {
            png_destroy_write_struct(&png_, nullptr);
            throw std::bad_alloc();
        }
    }
    ~PngSink() override { png_destroy_write_struct(&png_, &info_); }
    PngSink(const PngSink&) = delete;
    PngSink& operator=(const PngSink&) = delete;

    void append(const Image& image) override;
    void finish() override;

  private:
    void setHeader(const Image& image);

    template <typename Calls>
    void guard(Calls calls)
    {
        if (setjmp(jump_) != 0) {
            throw PageError(ExitCode::WriteFailed, complaint_);
        }
        calls();
    }

    static void onError(png_structp png, png_const_charp message)
    {
        auto* self = static_cast<PngSink*>(png_get_error_ptr(png));
        std::strncpy(self->complaint_, message, sizeof self->complaint_ - 1);
        std::longjmp(self->jump_, 1);
    }

    static void onWrite(png_structp png, png_bytep data, size_t length)
    {
        auto* self = static_cast<PngSink*>(png_get_io_ptr(png));
        if (std::fwrite(data, 1, length, self->file_.get()) != length) {
            png_error(png, std::strerror(errno));
        }
    }

    File file_;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    std::jmp_buf jump_{};
    char complaint_[200] = {};
    bool used_ = false;
};

struct PngKind {
    int bits;
    int color;
};

PngKind kindOf(uint16_t type)
{
    switch (type) {
    case IMAGE_TYPE_BW:
        return {1, PNG_COLOR_TYPE_GRAY};
    case IMAGE_TYPE_16GRAY:
        return {4, PNG_COLOR_TYPE_GRAY};
    case IMAGE_TYPE_256GRAY:
        return {8, PNG_COLOR_TYPE_GRAY};
    case IMAGE_TYPE_256RGB:
        return {8, PNG_COLOR_TYPE_PALETTE};
    case IMAGE_TYPE_16MRGB:
        return {8, PNG_COLOR_TYPE_RGB};
    default:
        return {4, PNG_COLOR_TYPE_PALETTE};
    }
}

void PngSink::setHeader(const Image& image)
{
    const auto [bits, color] = kindOf(image.type());
    png_set_write_fn(png_, this, onWrite, [](png_structp) {});
    png_set_compression_level(png_, image.type() == IMAGE_TYPE_BW ? kBilevelCompression : kCompression);
    png_set_IHDR(png_, info_, image.width(), image.height(), bits, color, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (color == PNG_COLOR_TYPE_PALETTE) {
        png_color entries[256];
        for (unsigned k = 0; k < image.palette.count; ++k) {
            const uint8_t* entry = image.palette.entries[k];
            entries[k] = {entry[0], entry[1], entry[2]};
        }
        png_set_PLTE(png_, info_, entries, image.palette.count);
    }
    if (image.resolution.x > 0 && image.resolution.y > 0) {
        const auto perMeter = [](double perInch) { return static_cast<png_uint_32>(std::lround(perInch / 0.0254)); };
        png_set_pHYs(png_, info_, perMeter(image.resolution.x), perMeter(image.resolution.y), PNG_RESOLUTION_METER);
    }
}

void PngSink::append(const Image& image)
{
    if (used_) {
        throw PageError(ExitCode::Usage,
                        "a PNG file holds one page and the input has several; choose one with --page, or write TIFF");
    }
    used_ = true;
    guard([this, &image] {
        setHeader(image);
        png_write_info(png_, info_);
        for (uint32_t y = 0; y < image.height(); ++y) {
            png_write_row(png_, image.line(y));
        }
        png_write_end(png_, info_);
    });
}

void PngSink::finish()
{
    if (std::fclose(file_.release()) != 0) {
        throwErrno(ExitCode::WriteFailed);
    }
}

} // namespace

std::unique_ptr<PageSink> createPng(const std::string& path)
{
    return std::make_unique<PngSink>(path);
}

} // namespace lxpage
