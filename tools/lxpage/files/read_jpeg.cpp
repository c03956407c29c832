// JPEG in: gray and colour. The decoder goes on after damage and fills in gray; here every warning that means lost
// pixels is an error.
//
// libjpeg leaves its functions by longjmp. Every stretch of calls to it therefore runs inside guard(), in a lambda that
// owns nothing, and the exception is thrown outside.

#include "files/page_file.h"

#include <csetjmp>
#include <cstdio>

#include <jpeglib.h>

#include <jerror.h>

namespace lxpage
{

namespace
{

class JpegSource : public PageSource
{
  public:
    explicit JpegSource(const std::string& path) : file_(openForReading(path))
    {
        info_.err = jpeg_std_error(&errors_);
        info_.client_data = this;
        errors_.error_exit = [](j_common_ptr info) { fail(info); };
        errors_.emit_message = onMessage;
        guard([this] {
            jpeg_create_decompress(&info_);
            jpeg_stdio_src(&info_, file_.get());
        });
    }
    ~JpegSource() override { jpeg_destroy_decompress(&info_); }
    JpegSource(const JpegSource&) = delete;
    JpegSource& operator=(const JpegSource&) = delete;

    Image read(unsigned index) override;

  private:
    void readHeader();
    [[nodiscard]] Resolution resolution() const;

    template <typename Calls>
    void guard(Calls calls)
    {
        if (setjmp(jump_) != 0) {
            throwComplaint();
        }
        calls();
    }
    [[noreturn]] void throwComplaint();

    [[noreturn]] static void fail(j_common_ptr info)
    {
        std::longjmp(static_cast<JpegSource*>(info->client_data)->jump_, 1);
    }

    static void onMessage(j_common_ptr info, int level)
    {
        const int code = info->err->msg_code;
        const bool harmless = code == JWRN_EXTRANEOUS_DATA || code == JWRN_JFIF_MAJOR || code == JWRN_ADOBE_XFORM;
        if (level < 0 && !harmless) {
            fail(info);
        }
    }

    File file_;
    jpeg_decompress_struct info_{};
    jpeg_error_mgr errors_{};
    std::jmp_buf jump_{};
};

void JpegSource::throwComplaint()
{
    char text[JMSG_LENGTH_MAX];
    errors_.format_message(reinterpret_cast<j_common_ptr>(&info_), text);
    switch (errors_.msg_code) {
    case JERR_BAD_PRECISION:
    case JERR_SOF_UNSUPPORTED:
    case JERR_ARITH_NOTIMPL:
    case JERR_CONVERSION_NOTIMPL:
    case JERR_NOT_COMPILED:
        throw PageError(ExitCode::Unsupported, std::string("this kind of JPEG is not supported (") + text + ")");
    case JERR_IMAGE_TOO_BIG:
    case JERR_OUT_OF_MEMORY:
        throw PageError(ExitCode::TooLarge, text);
    default:
        throw PageError(ExitCode::Damaged, std::string("the file is truncated or damaged (") + text + ")");
    }
}

void JpegSource::readHeader()
{
    guard([this] { jpeg_read_header(&info_, TRUE); });
    switch (info_.jpeg_color_space) {
    case JCS_GRAYSCALE:
        info_.out_color_space = JCS_GRAYSCALE;
        break;
    case JCS_RGB:
    case JCS_YCbCr:
        info_.out_color_space = JCS_RGB;
        break;
    case JCS_CMYK:
    case JCS_YCCK:
        throw PageError(ExitCode::Unsupported, "CMYK colour is not supported; convert the picture to RGB first");
    default:
        throw PageError(ExitCode::Unsupported, "its colour space is not supported; gray and RGB are");
    }
}

Resolution JpegSource::resolution() const
{
    const double perInch = info_.density_unit == 1 ? 1.0 : info_.density_unit == 2 ? 2.54 : 0.0;
    return {info_.X_density * perInch, info_.Y_density * perInch};
}

Image JpegSource::read(unsigned)
{
    readHeader();
    const bool gray = info_.out_color_space == JCS_GRAYSCALE;
    const unsigned components = gray ? 1 : 3;
    // Progressive files are decoded from two bytes per coefficient, all held in memory.
    const unsigned coefficientBytes = jpeg_has_multiple_scans(&info_) ? 2 * components : 0;
    checkPageSize(info_.image_width, info_.image_height, components + coefficientBytes);
    Image image(gray ? IMAGE_TYPE_256GRAY : IMAGE_TYPE_16MRGB, info_.image_width, info_.image_height, resolution());
    guard([this, &image] {
        jpeg_start_decompress(&info_);
        while (info_.output_scanline < info_.output_height) {
            JSAMPROW row = image.line(info_.output_scanline);
            jpeg_read_scanlines(&info_, &row, 1);
        }
        jpeg_finish_decompress(&info_);
    });
    return image;
}

} // namespace

std::unique_ptr<PageSource> openJpeg(const std::string& path)
{
    return std::make_unique<JpegSource>(path);
}

} // namespace lxpage
