// PNM in: the six plain and raw forms of bitmap, graymap and pixmap with 8 bits a sample. The first picture of the file
// is read. The format has no room for a resolution.

#include "files/page_file.h"

#include <algorithm>

namespace lxpage
{

namespace
{

class PnmSource : public PageSource
{
  public:
    explicit PnmSource(const std::string& path) : file_(openForReading(path)) {}

    Image read(unsigned index) override;

  private:
    int nextCharacter();
    int skipSpaceAndComments();
    unsigned nextNumber();
    void readPlain(Image& image);
    void readRaw(Image& image);

    File file_;
};

[[noreturn]] void throwTruncated()
{
    throw PageError(ExitCode::Damaged, "the file is truncated");
}

int PnmSource::nextCharacter()
{
    const int c = std::getc(file_.get());
    if (c == EOF) {
        throwTruncated();
    }
    return c;
}

// The first character that belongs to neither white space nor a comment.
int PnmSource::skipSpaceAndComments()
{
    for (;;) {
        int c = nextCharacter();
        if (c == '#') {
            while (c != '\n' && c != '\r') {
                c = nextCharacter();
            }
        } else if (c != ' ' && (c < '\t' || c > '\r')) {
            return c;
        }
    }
}

// Reads a number and the one character after it. The last number of a plain file may be followed by nothing.
unsigned PnmSource::nextNumber()
{
    unsigned value = 0;
    int c = skipSpaceAndComments();
    if (c < '0' || c > '9') {
        throw PageError(ExitCode::Damaged, "the file is damaged (a number is missing)");
    }
    for (; c >= '0' && c <= '9'; c = std::getc(file_.get())) {
        value = std::min(value * 10 + static_cast<unsigned>(c - '0'), 100'000'000u);
    }
    return value;
}

void PnmSource::readPlain(Image& image)
{
    const bool bitmap = image.type() == IMAGE_TYPE_BW;
    const uint32_t samples = bitmap ? image.width() : image.bytesPerLine();
    for (uint32_t y = 0; y < image.height(); ++y) {
        uint8_t* line = image.line(y);
        for (uint32_t x = 0; x < samples; ++x) {
            if (bitmap) { // its digits need no space between them; 1 is black
                const int digit = skipSpaceAndComments();
                if (digit != '0' && digit != '1') {
                    throw PageError(ExitCode::Damaged, "the file is damaged (a bit is neither 0 nor 1)");
                }
                line[x / 8] = static_cast<uint8_t>(line[x / 8] | (digit == '0' ? 0x80 >> x % 8 : 0));
            } else {
                const unsigned value = nextNumber();
                if (value > 255) {
                    throw PageError(ExitCode::Damaged, "the file is damaged (a sample is above the maximum)");
                }
                line[x] = static_cast<uint8_t>(value);
            }
        }
    }
}

void PnmSource::readRaw(Image& image)
{
    for (uint32_t y = 0; y < image.height(); ++y) {
        uint8_t* line = image.line(y);
        if (std::fread(line, 1, image.bytesPerLine(), file_.get()) != image.bytesPerLine()) {
            throwTruncated();
        }
        if (image.type() == IMAGE_TYPE_BW) {
            std::transform(line, line + image.bytesPerLine(), line,
                           [](uint8_t byte) { return static_cast<uint8_t>(~byte); });
        }
    }
}

Image PnmSource::read(unsigned)
{
    nextCharacter(); // the P
    const int kind = nextCharacter() - '0';
    const bool plain = kind <= 3;
    const int content = plain ? kind : kind - 3; // 1 bitmap, 2 graymap, 3 pixmap
    const unsigned width = nextNumber();
    const unsigned height = nextNumber();
    if (const unsigned maximum = content == 1 ? 255 : nextNumber(); maximum != 255) {
        throw PageError(ExitCode::Unsupported,
                        "its samples run to " + std::to_string(maximum) + "; only a maximum of 255 is supported");
    }
    checkPageSize(width, height, content == 3 ? 3 : 1);
    static constexpr uint16_t types[] = {IMAGE_TYPE_BW, IMAGE_TYPE_256GRAY, IMAGE_TYPE_16MRGB};
    Image image(types[content - 1], width, height);
    plain ? readPlain(image) : readRaw(image);
    return image;
}

} // namespace

std::unique_ptr<PageSource> openPnm(const std::string& path)
{
    return std::make_unique<PnmSource>(path);
}

} // namespace lxpage
