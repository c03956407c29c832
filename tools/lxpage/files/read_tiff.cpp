// TIFF in: bilevel, gray, palette and RGB pictures in strips or tiles, of any compression that libtiff was built with,
// and of any number of pages. 16-bit samples are reduced to 8, alpha is flattened over white, and pictures stored in
// another orientation are turned upright.
//
// Strips and rows of tiles are both read as bands: raw lines of the full width, which are then brought to pixels line
// by line.

#include "files/page_file.h"
#include "files/sample_rows.h"
#include "files/tiff_handle.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace lxpage
{

namespace
{

template <typename Value>
Value field(TIFF* tiff, uint32_t tag, Value otherwise)
{
    Value value = otherwise;
    return TIFFGetFieldDefaulted(tiff, tag, &value) ? value : otherwise;
}

class TiffSource : public PageSource
{
  public:
    explicit TiffSource(const std::string& path);

    [[nodiscard]] unsigned count() const override { return static_cast<unsigned>(directories_.size()); }
    Image read(unsigned index) override;

  private:
    [[noreturn]] void throwDamaged() const;
    void findPages();
    [[nodiscard]] bool endsBeforeFile() const;
    void readHeader();
    void chooseColors(unsigned photometric);
    void chooseAlpha();
    void readPalette();
    [[nodiscard]] Resolution resolution() const;
    void readStrips(Image& image);
    void readTiles(Image& image);
    void readBlock(bool tiled, uint32_t block, std::vector<uint8_t>& raw, size_t bytesNeeded);

    TiffMessages messages_; // before the handle that refers to it
    TiffHandle tiff_;
    std::vector<tdir_t> directories_;

    // Of the page being read.
    uint32_t width_ = 0;
    uint32_t height_ = 0;
    unsigned planes_ = 1; // more than 1: every sample has strips or tiles of its own
    SampleLayout layout_;
    unsigned paletteCount_ = 0;
    uint8_t palette_[256][3] = {};
};

TiffSource::TiffSource(const std::string& path)
{
    openForReading(path); // for the system's own reason, if it cannot be opened
    // "m": not mapped into memory, where a file that shrinks meanwhile would end the program.
    tiff_ = openTiffHandle(path, "rm", messages_);
    if (!tiff_) {
        throwDamaged();
    }
    findPages();
}

void TiffSource::throwDamaged() const
{
    throw PageError(ExitCode::Damaged, "the file is truncated or damaged" +
                                           (messages_.empty() ? std::string() : " (" + messages_.error + ")"));
}

// Previews and masks that accompany a page are no pages. Whether another directory follows is asked before going there:
// afterwards, one that cannot be read looks like the end.
void TiffSource::findPages()
{
    std::vector<tdir_t> all;
    for (bool more = true; more;) {
        const tdir_t directory = TIFFCurrentDirectory(tiff_.get());
        all.push_back(directory);
        if (!(field<uint32_t>(tiff_.get(), TIFFTAG_SUBFILETYPE, 0) & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK))) {
            directories_.push_back(directory);
        }
        more = !TIFFLastDirectory(tiff_.get());
        if (more ? !TIFFReadDirectory(tiff_.get()) : !endsBeforeFile()) {
            throwDamaged();
        }
    }
    if (directories_.empty()) {
        directories_ = all;
    }
}

// Whether the file holds all of the current directory, to the end of its link to the next one: a link that is cut off
// passes for that of the last directory.
bool TiffSource::endsBeforeFile() const
{
    TIFF* tiff = tiff_.get();
    const bool big = TIFFIsBigTIFF(tiff) != 0;
    uint8_t bytes[8] = {};
    const tmsize_t length = big ? 8 : 2;
    const uint64_t start = TIFFCurrentDirOffset(tiff);
    TIFFGetSeekProc(tiff)(TIFFClientdata(tiff), start, SEEK_SET);
    if (TIFFGetReadProc(tiff)(TIFFClientdata(tiff), bytes, length) != length) {
        return false;
    }
    uint64_t entries = 0;
    for (tmsize_t k = 0; k < length; ++k) {
        entries = entries << 8 | bytes[TIFFIsBigEndian(tiff) ? k : length - 1 - k];
    }
    const uint64_t end = start + (big ? 8 + 20 * entries + 8 : 2 + 12 * entries + 4);
    return end <= TIFFGetSizeProc(tiff)(TIFFClientdata(tiff));
}

// Leaves width_, height_, planes_ and layout_ as the raw lines will come, and the palette if there is one.
void TiffSource::readHeader()
{
    TIFF* tiff = tiff_.get();
    width_ = field<uint32_t>(tiff, TIFFTAG_IMAGEWIDTH, 0);
    height_ = field<uint32_t>(tiff, TIFFTAG_IMAGELENGTH, 0);
    layout_ = {};
    layout_.bits = field<uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE, 1);
    layout_.samples = field<uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    const auto compression = field<uint16_t>(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    if (!TIFFIsCODECConfigured(compression)) {
        throw PageError(ExitCode::Unsupported,
                        "its compression (" + std::to_string(compression) + ") is not one that the tool can undo");
    }
    uint16_t photometric = 0;
    if (!TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric)) {
        throw PageError(ExitCode::Damaged, "it does not say what its samples mean (no photometric tag)");
    }
    if (photometric == PHOTOMETRIC_YCBCR && compression == COMPRESSION_JPEG) {
        TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        photometric = PHOTOMETRIC_RGB;
    }
    chooseColors(photometric);
    chooseAlpha();
    const bool separate = field<uint16_t>(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_SEPARATE;
    planes_ = separate ? layout_.samples : 1;
    if (layout_.indexed) {
        readPalette();
    }
}

void TiffSource::chooseColors(unsigned photometric)
{
    switch (photometric) {
    case PHOTOMETRIC_MINISWHITE:
        layout_.inverted = true;
        break;
    case PHOTOMETRIC_MINISBLACK:
        break;
    case PHOTOMETRIC_PALETTE:
        layout_.indexed = true;
        break;
    case PHOTOMETRIC_RGB:
        layout_.colors = 3;
        break;
    default:
        throw PageError(ExitCode::Unsupported, "its colour space (photometric " + std::to_string(photometric) +
                                                   ") is not supported; gray, palette and RGB are");
    }
    const auto format = field<uint16_t>(tiff_.get(), TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    const unsigned bits = layout_.bits;
    const bool wholeBytes = bits == 8 || bits == 16;
    const bool known = layout_.samples == 1 ? wholeBytes || bits == 1 || bits == 2 || bits == 4
                                            : wholeBytes && layout_.samples >= layout_.colors;
    if (!known || (layout_.colors == 3 && layout_.samples < 3) ||
        (layout_.indexed && (bits > 8 || layout_.samples > 1)) ||
        (format != SAMPLEFORMAT_UINT && format != SAMPLEFORMAT_VOID)) {
        throw PageError(ExitCode::Unsupported, "its pixels (" + std::to_string(layout_.samples) + " samples of " +
                                                   std::to_string(bits) + " bits) are not of a supported kind");
    }
}

void TiffSource::chooseAlpha()
{
    uint16_t count = 0;
    uint16_t* kinds = nullptr;
    TIFFGetFieldDefaulted(tiff_.get(), TIFFTAG_EXTRASAMPLES, &count, &kinds);
    if (count > 0 && layout_.samples > layout_.colors) {
        layout_.alpha = kinds[0] == EXTRASAMPLE_UNASSALPHA   ? Alpha::Straight
                        : kinds[0] == EXTRASAMPLE_ASSOCALPHA ? Alpha::Premultiplied
                                                             : Alpha::None;
    }
}

void TiffSource::readPalette()
{
    uint16_t* channels[3] = {};
    if (!TIFFGetField(tiff_.get(), TIFFTAG_COLORMAP, &channels[0], &channels[1], &channels[2])) {
        throw PageError(ExitCode::Damaged, "its colour table is missing");
    }
    paletteCount_ = 1u << layout_.bits;
    // Entries have 16 bits, but some writers leave 8-bit values in them.
    unsigned highest = 0;
    for (const uint16_t* channel : channels) {
        highest = std::max<unsigned>(highest, *std::max_element(channel, channel + paletteCount_));
    }
    const unsigned shift = highest > 255 ? 8 : 0;
    for (unsigned k = 0; k < paletteCount_; ++k) {
        for (unsigned c = 0; c < 3; ++c) {
            palette_[k][c] = static_cast<uint8_t>(channels[c][k] >> shift);
        }
    }
    layout_.indexed = !(layout_.bits == 1 && isBlackAndWhite(palette_, layout_.inverted));
}

Resolution TiffSource::resolution() const
{
    const auto unit = field<uint16_t>(tiff_.get(), TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    const double perInch = unit == RESUNIT_INCH ? 1.0 : unit == RESUNIT_CENTIMETER ? 2.54 : 0.0;
    const auto x = field<float>(tiff_.get(), TIFFTAG_XRESOLUTION, 0);
    const auto y = field<float>(tiff_.get(), TIFFTAG_YRESOLUTION, 0);
    return x > 0 && y > 0 ? Resolution{perInch * x, perInch * y} : Resolution{};
}

// Decode one strip or tile, which must yield at least `bytesNeeded`.
void TiffSource::readBlock(bool tiled, uint32_t block, std::vector<uint8_t>& raw, size_t bytesNeeded)
{
    const auto room = static_cast<tmsize_t>(raw.size());
    const tmsize_t got = tiled ? TIFFReadEncodedTile(tiff_.get(), block, raw.data(), room)
                               : TIFFReadEncodedStrip(tiff_.get(), block, raw.data(), room);
    if (got < 0 || static_cast<size_t>(got) < bytesNeeded || !messages_.empty()) {
        throwDamaged();
    }
}

// Put the samples of one plane in their places among those of the other planes.
void interleave(const uint8_t* plane, size_t samples, unsigned bytesPerSample, unsigned index, unsigned planes,
                uint8_t* raw)
{
    for (size_t k = 0; k < samples; ++k) {
        std::memcpy(raw + (k * planes + index) * bytesPerSample, plane + k * bytesPerSample, bytesPerSample);
    }
}

void TiffSource::readStrips(Image& image)
{
    const uint32_t linesPerStrip = std::min(field<uint32_t>(tiff_.get(), TIFFTAG_ROWSPERSTRIP, height_), height_);
    const size_t rawLine = rawBytesPerLine(layout_, width_);
    std::vector<uint8_t> raw(rawLine * linesPerStrip);
    std::vector<uint8_t> plane(planes_ > 1 ? raw.size() / planes_ : 0);
    for (uint32_t y = 0; y < height_; y += linesPerStrip) {
        const uint32_t lines = std::min(linesPerStrip, height_ - y);
        const size_t bytes = rawLine * lines;
        if (planes_ == 1) {
            readBlock(false, TIFFComputeStrip(tiff_.get(), y, 0), raw, bytes);
        }
        for (unsigned p = 0; planes_ > 1 && p < planes_; ++p) {
            readBlock(false, TIFFComputeStrip(tiff_.get(), y, static_cast<uint16_t>(p)), plane, bytes / planes_);
            interleave(plane.data(), size_t{width_} * lines, layout_.bits / 8, p, planes_, raw.data());
        }
        for (uint32_t j = 0; j < lines; ++j) {
            unpackRow(layout_, raw.data() + rawLine * j, width_, image.line(y + j));
        }
    }
}

void TiffSource::readTiles(Image& image)
{
    const auto tileWidth = field<uint32_t>(tiff_.get(), TIFFTAG_TILEWIDTH, 0);
    const auto tileHeight = field<uint32_t>(tiff_.get(), TIFFTAG_TILELENGTH, 0);
    checkPageSize(tileWidth, tileHeight, layout_.samples * std::max(layout_.bits / 8, 1u));
    if (tileWidth % 8 != 0) {
        throw PageError(ExitCode::Damaged, "the width of its tiles is not a multiple of 16");
    }
    const size_t tileLine = rawBytesPerLine(layout_, tileWidth);
    const size_t rawLine = rawBytesPerLine(layout_, width_);
    std::vector<uint8_t> tile(tileLine * tileHeight);
    std::vector<uint8_t> plane(planes_ > 1 ? tile.size() / planes_ : 0);
    std::vector<uint8_t> band(rawLine * std::min(tileHeight, height_));
    for (uint32_t y = 0; y < height_; y += tileHeight) {
        const uint32_t lines = std::min(tileHeight, height_ - y);
        for (uint32_t x = 0; x < width_; x += tileWidth) {
            if (planes_ == 1) {
                readBlock(true, TIFFComputeTile(tiff_.get(), x, y, 0, 0), tile, tile.size());
            }
            for (unsigned p = 0; planes_ > 1 && p < planes_; ++p) {
                readBlock(true, TIFFComputeTile(tiff_.get(), x, y, 0, static_cast<uint16_t>(p)), plane, plane.size());
                interleave(plane.data(), size_t{tileWidth} * tileHeight, layout_.bits / 8, p, planes_, tile.data());
            }
            const size_t left = rawBytesPerLine(layout_, x);
            for (uint32_t j = 0; j < lines; ++j) {
                std::memcpy(band.data() + rawLine * j + left, tile.data() + tileLine * j,
                            std::min(tileLine, rawLine - left));
            }
        }
        for (uint32_t j = 0; j < lines; ++j) {
            unpackRow(layout_, band.data() + rawLine * j, width_, image.line(y + j));
        }
    }
}

Image TiffSource::read(unsigned index)
{
    messages_.clear();
    if (!TIFFSetDirectory(tiff_.get(), directories_.at(index))) {
        throwDamaged();
    }
    readHeader();
    // A strip may hold the whole page.
    checkPageSize(width_, height_, layout_.colors + layout_.samples * std::max(layout_.bits / 8, 1u));
    messages_.clear();
    Image image(imageTypeOf(layout_), width_, height_, resolution());
    if (layout_.indexed) {
        setPalette(image, paletteCount_, [this](unsigned k, unsigned c) { return palette_[k][c]; });
    }
    TIFFIsTiled(tiff_.get()) ? readTiles(image) : readStrips(image);
    const auto orientation = field<uint16_t>(tiff_.get(), TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    return orientation >= 2 && orientation <= 8 ? uprighted(image, orientation) : std::move(image);
}

} // namespace

std::unique_ptr<PageSource> openTiff(const std::string& path)
{
    return std::make_unique<TiffSource>(path);
}

} // namespace lxpage
