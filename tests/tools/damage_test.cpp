// Files that the tool must refuse: cut off, damaged, of an unknown kind, or too large. None may leave a picture.

#include "picture_files.h"
#include "tool_test.h"

#include <functional>
#include <png.h>
#include <unistd.h>
#include <zlib.h>

namespace lxpage
{

namespace
{

using Damage = ToolTest;

// Sound files of many kinds, by name.
std::vector<std::string> writeSoundFiles(const std::function<std::string(const char*)>& path)
{
    writePngFile(path("gray.png"), {"", PNG_COLOR_TYPE_GRAY});
    writePngFile(path("colour.png"), {"", PNG_COLOR_TYPE_RGB_ALPHA, 8, true});
    writePngFile(path("palette.png"), {"", PNG_COLOR_TYPE_PALETTE, 4});
    writeJpegFile(path("gray.jpg"), 1, false);
    writeJpegFile(path("colour.jpg"), 3, true);
    writeTiffPage(path("plain.tif"), {"", 8, 3, PHOTOMETRIC_RGB});
    writeTiffPage(path("group4.tif"), {"", 1, 1, PHOTOMETRIC_MINISWHITE, COMPRESSION_CCITTFAX4});
    writeTiffPage(path("tiles.tif"), {"", 8, 1, PHOTOMETRIC_MINISBLACK, COMPRESSION_LZW, true});
    for (const auto& [name, mode] : {std::pair("pages.tif", "w"), {"large.tif", "w8b"}}) {
        writeTiffPage(path(name), {"", 1}, mode);
        writeTiffPage(path(name), {"", 4}, "a");
        writeTiffPage(path(name), {"", 8}, "a");
    }
    return {"gray.png",  "colour.png", "palette.png", "gray.jpg",  "colour.jpg",
            "plain.tif", "group4.tif", "tiles.tif",   "pages.tif", "large.tif"};
}

TEST_F(Damage, FilesCutOffAnywhere)
{
    for (const std::string& name : writeSoundFiles([this](const char* file) { return path(file); })) {
        const std::string whole = bytesOf(path(name));
        for (size_t kept = 0; kept < whole.size(); kept += whole.size() / 23) {
            SCOPED_TRACE(name + " cut to " + std::to_string(kept) + " of " + std::to_string(whole.size()));
            putBytes(path(name), whole.substr(0, kept));
            expectRefused(path(name), ExitCode::Damaged);
        }
        SCOPED_TRACE(name + " without its last byte");
        putBytes(path(name), whole.substr(0, whole.size() - 1));
        expectRefused(path(name), ExitCode::Damaged);
    }
}

TEST_F(Damage, Pnm)
{
    const std::string cases[] = {"P",
                                 "P4",
                                 "P4 9",
                                 "P4 9 2\n\x80\x80\x80",
                                 "P5 2 2 255\nabc",
                                 "P6 1 1 255\nab",
                                 "P1 2 1 1",
                                 "P1 2 1 1 2",
                                 "P2 2 1 255 7",
                                 "P2 1 1 255 256",
                                 "P2 1 1 255 x",
                                 "P2 # a comment without end",
                                 "P5 0 4 255\n"};
    for (const std::string& bytes : cases) {
        SCOPED_TRACE(bytes);
        putBytes(path("in.pnm"), bytes);
        expectRefused(path("in.pnm"), ExitCode::Damaged);
    }
}

// The strips follow the directory, as many writers place them, so that a cut file still opens; or they stand before it.
std::string tiffOf(uint16_t compression, const std::string& data, uint32_t width, uint32_t height,
                   bool directoryLast = false)
{
    const auto number = [](uint32_t value, int bytes) {
        std::string text;
        for (int k = 0; k < bytes; ++k) {
            text += static_cast<char>(value >> 8 * k);
        }
        return text;
    };
    const uint32_t tags[][2] = {{TIFFTAG_IMAGEWIDTH, width},
                                {TIFFTAG_IMAGELENGTH, height},
                                {TIFFTAG_BITSPERSAMPLE, 1},
                                {TIFFTAG_COMPRESSION, compression},
                                {TIFFTAG_PHOTOMETRIC, 0},
                                {TIFFTAG_STRIPOFFSETS, 0},
                                {TIFFTAG_SAMPLESPERPIXEL, 1},
                                {TIFFTAG_ROWSPERSTRIP, height},
                                {TIFFTAG_STRIPBYTECOUNTS, static_cast<uint32_t>(data.size())}};
    const auto count = static_cast<uint32_t>(std::size(tags));
    const uint32_t dataStart = directoryLast ? 8 : 8 + 2 + 12 * count + 4;
    std::string directory = number(count, 2);
    for (const auto& [tag, value] : tags) {
        directory += number(tag, 2) + number(TIFF_LONG, 2) + number(1, 4) +
                     number(tag == TIFFTAG_STRIPOFFSETS ? dataStart : value, 4);
    }
    directory += number(0, 4);
    const auto size = static_cast<uint32_t>(data.size());
    return std::string("II*\0", 4) +
           (directoryLast ? number(8 + size, 4) + data + directory : number(8, 4) + directory + data);
}

TEST_F(Damage, TiffCutWithinItsParts)
{
    const std::string whole = tiffOf(COMPRESSION_NONE, std::string(16, '\x55'), 64, 2);
    putBytes(path("in.tif"), whole);
    EXPECT_EQ(run({"halftone", path("in.tif"), path("out.png")}).code, ExitCode::Done);
    putBytes(path("in.tif"), whole.substr(0, whole.size() - 1));
    expectRefused(path("in.tif"), ExitCode::Damaged);
    // The last bytes say whether another page follows.
    const std::string linkLast = tiffOf(COMPRESSION_NONE, std::string(16, '\x55'), 64, 2, true);
    putBytes(path("in.tif"), linkLast);
    EXPECT_EQ(run({"halftone", path("in.tif"), path("out.png")}).code, ExitCode::Done);
    for (const unsigned missing : {1U, 4U, 5U}) {
        putBytes(path("in.tif"), linkLast.substr(0, linkLast.size() - missing));
        expectRefused(path("in.tif"), ExitCode::Damaged);
    }
    // A fax decoder would make up the lines that are missing here.
    putBytes(path("in.tif"), tiffOf(COMPRESSION_CCITTFAX4, "\x26\xa0", 64, 40));
    expectRefused(path("in.tif"), ExitCode::Damaged);
}

TEST_F(Damage, ChangedBytesInTheData)
{
    for (const char* name : {"gray.png", "colour.png", "palette.png", "group4.tif"}) {
        SCOPED_TRACE(name);
        writeSoundFiles([this](const char* file) { return path(file); });
        std::string bytes = bytesOf(path(name));
        bytes.replace(bytes.size() * 2 / 5, 9, 9, '\0');
        putBytes(path(name), bytes);
        expectRefused(path(name), ExitCode::Damaged);
    }
}

TEST_F(Damage, HeadersOfGiants)
{
    writePngFile(path("in.png"), {"", PNG_COLOR_TYPE_GRAY, 1});
    std::string png = bytesOf(path("in.png"));
    png.replace(16, 8, std::string("\0\0\xff\xff\0\0\xff\xff", 8)); // 65,535 a side
    const auto crc = static_cast<uint32_t>(crc32(0, reinterpret_cast<const uint8_t*>(&png[12]), 17));
    for (unsigned k = 0; k < 4; ++k) {
        png[29 + k] = static_cast<char>(crc >> (24 - 8 * k));
    }
    writeJpegFile(path("in.jpg"), 1, false);
    std::string jpeg = bytesOf(path("in.jpg"));
    jpeg.replace(jpeg.find("\xff\xc0") + 5, 4, "\xff\xdc\xff\xdc"); // 65,500 a side: 4 gigapixels
    const std::string files[] = {png,
                                 jpeg,
                                 "P4 65501 1\n",
                                 "P5 1 65501 255\n",
                                 "P6 40000 40000 255\n",
                                 "P2 99999999999999999999 1 255 ",
                                 tiffOf(COMPRESSION_CCITTFAX4, "x", 65500, 65500)};
    for (const std::string& bytes : files) {
        SCOPED_TRACE(bytes.substr(0, 24));
        putBytes(path("giant"), bytes);
        expectRefused(path("giant"), ExitCode::TooLarge);
    }
}

TEST_F(Damage, KindsThatAreNotSupported)
{
    putBytes(path("text.png"), "not a picture");
    putBytes(path("pam"), "P7\nWIDTH 1\nHEIGHT 1\n");
    putBytes(path("wide.pgm"), "P5 1 1 65535\nab");
    putBytes(path("narrow.ppm"), "P3 1 1 15 1 2 3");
    writeJpegFile(path("cmyk.jpg"), 4, false);
    writeTiffPage(path("cmyk.tif"), {"", 8, 4, PHOTOMETRIC_SEPARATED});
    writeTiffPage(path("wide.tif"),
                  {"", 8, 2, PHOTOMETRIC_PALETTE, COMPRESSION_NONE, false, false, EXTRASAMPLE_UNASSALPHA});
    putBytes(path("codec.tif"), tiffOf(4711, "x", 8, 1));
    for (const std::string& name : files()) {
        SCOPED_TRACE(name);
        expectRefused(path(name), ExitCode::Unsupported);
    }
}

TEST_F(Damage, FilesThatCannotBeRead)
{
    expectRefused(path("missing.png"), ExitCode::Unreadable);
    expectRefused(path(""), ExitCode::Unreadable); // the directory
    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    expectRefused("/dev/fd/" + std::to_string(pipeEnds[0]), ExitCode::Unreadable);
    close(pipeEnds[0]);
    close(pipeEnds[1]);
}

} // namespace

} // namespace lxpage
