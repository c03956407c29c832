#include "picture_files.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <ostream>
#include <stdexcept>

#include <jpeglib.h>
#include <png.h>

namespace lxpage
{

namespace
{

// One line (or, of a tile, a part of it) with the samples packed as the files want them.
std::vector<uint8_t> packed(uint32_t x, uint32_t y, uint32_t width, unsigned firstSample, unsigned samples,
                            unsigned bits)
{
    std::vector<uint8_t> row((size_t{width} * samples * bits + 7) / 8);
    size_t position = 0;
    for (uint32_t i = x; i < x + width; ++i) {
        for (unsigned c = firstSample; c < firstSample + samples; ++c, ++position) {
            const unsigned value = sampleOf(i, y, c, bits);
            if (bits == 16) {
                const auto wide = static_cast<uint16_t>(value);
                std::memcpy(&row[position * 2], &wide, 2);
            } else {
                row[position * bits / 8] |= static_cast<uint8_t>(value << (8 - bits - position * bits % 8));
            }
        }
    }
    return row;
}

void check(bool ok)
{
    if (!ok) {
        throw std::runtime_error("the test's own picture could not be written");
    }
}

void writeTiles(TIFF* tiff, const TiffSpec& spec)
{
    constexpr uint32_t side = 16;
    const unsigned planes = spec.planar ? spec.samples : 1;
    const unsigned perPlane = spec.samples / planes;
    for (unsigned p = 0; p < planes; ++p) {
        for (uint32_t y = 0; y < kHeight; y += side) {
            for (uint32_t x = 0; x < kWidth; x += side) {
                std::vector<uint8_t> tile;
                for (uint32_t j = 0; j < side; ++j) {
                    const auto row = packed(x, y + j, side, p, perPlane, spec.bits);
                    tile.insert(tile.end(), row.begin(), row.end());
                }
                check(TIFFWriteTile(tiff, tile.data(), x, y, 0, static_cast<uint16_t>(p)) > 0);
            }
        }
    }
}

void writeStrips(TIFF* tiff, const TiffSpec& spec)
{
    const unsigned planes = spec.planar ? spec.samples : 1;
    for (unsigned p = 0; p < planes; ++p) {
        for (uint32_t y = 0; y < kHeight; ++y) {
            auto row = packed(0, y, kWidth, p, spec.samples / planes, spec.bits);
            check(TIFFWriteScanline(tiff, row.data(), y, static_cast<uint16_t>(p)) == 1);
        }
    }
}

void setColorMap(TIFF* tiff)
{
    uint16_t map[3][256];
    for (unsigned k = 0; k < 256; ++k) {
        for (unsigned c = 0; c < 3; ++c) {
            map[c][k] = static_cast<uint16_t>(paletteOf(k, c) * 257);
        }
    }
    TIFFSetField(tiff, TIFFTAG_COLORMAP, map[0], map[1], map[2]);
}

} // namespace

unsigned sampleOf(uint32_t x, uint32_t y, unsigned c, unsigned bits)
{
    const uint32_t mixed = (x * 2654435761u ^ (y + 7 * c) * 2246822519u) * 3266489917u;
    return mixed >> (32 - bits);
}

unsigned paletteOf(unsigned k, unsigned c)
{
    return (k * (37 + 22 * c) + 90 * c + 11) & 255;
}

void PrintTo(const TiffSpec& spec, std::ostream* out)
{
    *out << spec.name;
}

void PrintTo(const PngSpec& spec, std::ostream* out)
{
    *out << spec.name;
}

void writeTiffPage(const std::string& path, const TiffSpec& spec, const char* mode, float dpi, uint16_t unit,
                   uint32_t subfileType)
{
    TIFF* tiff = TIFFOpen(path.c_str(), mode);
    check(tiff != nullptr);
    TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, subfileType);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, kWidth);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, kHeight);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, spec.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, spec.samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, spec.photometric);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, spec.compression);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, spec.orientation);
    TIFFSetField(tiff, TIFFTAG_FILLORDER, spec.fillOrder);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, spec.planar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    if (spec.extra >= 0) {
        const auto kind = static_cast<uint16_t>(spec.extra);
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &kind);
    }
    if (spec.photometric == PHOTOMETRIC_PALETTE) {
        setColorMap(tiff);
    }
    if (dpi > 0) {
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, dpi);
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, dpi / 2);
        TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, unit);
    }
    if (spec.tiled) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, 16);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, 16);
        writeTiles(tiff, spec);
    } else {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 8);
        writeStrips(tiff, spec);
    }
    TIFFClose(tiff);
}

void writePngFile(const std::string& path, const PngSpec& spec, unsigned dotsPerMeter)
{
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    std::FILE* file = std::fopen(path.c_str(), "wb");
    check(file != nullptr);
    png_init_io(png, file);
    png_set_IHDR(png, info, kWidth, kHeight, spec.bits, spec.color,
                 spec.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    if (spec.color == PNG_COLOR_TYPE_PALETTE) {
        png_color colors[256];
        for (unsigned k = 0; k < 256; ++k) {
            colors[k] = {static_cast<uint8_t>(paletteOf(k, 0)), static_cast<uint8_t>(paletteOf(k, 1)),
                         static_cast<uint8_t>(paletteOf(k, 2))};
        }
        png_set_PLTE(png, info, colors, 1 << spec.bits);
    }
    if (spec.transparent) {
        const uint8_t alphas[2] = {255, 0};
        const auto keyOf = [&](unsigned c) {
            return static_cast<uint16_t>(sampleOf(5, 5, c, static_cast<unsigned>(spec.bits)));
        };
        const png_color_16 key = {0, keyOf(0), keyOf(1), keyOf(2), 1};
        png_set_tRNS(png, info, alphas, spec.color == PNG_COLOR_TYPE_PALETTE ? 2 : 0, &key);
    }
    if (dotsPerMeter > 0) {
        png_set_pHYs(png, info, dotsPerMeter, dotsPerMeter * 2, PNG_RESOLUTION_METER);
    }
    png_write_info(png, info);
    if (spec.bits == 16) {
        png_set_swap(png); // the packed samples are in this machine's order
    }
    std::vector<std::vector<uint8_t>> rows;
    std::vector<png_bytep> pointers;
    for (uint32_t y = 0; y < kHeight; ++y) {
        rows.push_back(packed(0, y, kWidth, 0, png_get_channels(png, info), static_cast<unsigned>(spec.bits)));
        pointers.push_back(rows.back().data());
    }
    png_write_image(png, pointers.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
}

void writeJpegFile(const std::string& path, int components, bool progressive, unsigned dpi)
{
    jpeg_compress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    std::FILE* file = std::fopen(path.c_str(), "wb");
    check(file != nullptr);
    jpeg_stdio_dest(&jpeg, file);
    jpeg.image_width = kWidth;
    jpeg.image_height = kHeight;
    jpeg.input_components = components;
    jpeg.in_color_space = components == 1 ? JCS_GRAYSCALE : components == 3 ? JCS_RGB : JCS_CMYK;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, 98, TRUE);
    if (progressive) {
        jpeg_simple_progression(&jpeg);
    }
    if (dpi > 0) {
        jpeg.density_unit = 1;
        jpeg.X_density = static_cast<uint16_t>(dpi);
        jpeg.Y_density = static_cast<uint16_t>(dpi * 2);
    }
    jpeg_start_compress(&jpeg, TRUE);
    for (uint32_t y = 0; y < kHeight; ++y) {
        std::vector<uint8_t> row;
        for (uint32_t x = 0; x < kWidth; ++x) {
            const uint8_t shades[4] = {static_cast<uint8_t>(x + 2 * y), static_cast<uint8_t>(255 - x - 2 * y),
                                       static_cast<uint8_t>((x + 2 * y) / 2), 0};
            row.insert(row.end(), shades, shades + components);
        }
        JSAMPROW pointer = row.data();
        jpeg_write_scanlines(&jpeg, &pointer, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    std::fclose(file);
}

} // namespace lxpage
