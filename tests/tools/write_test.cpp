// What the tool writes, it reads back; and nothing is left behind when writing fails.

#include "files/page_file.h"
#include "picture_files.h"
#include "tool_test.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <png.h>
#include <sys/resource.h>

namespace lxpage
{

namespace
{

using Write = ToolTest;

// An image with something in every pixel.
Image patterned(uint16_t type)
{
    Image image(type, kWidth, kHeight, {300, 200}, kWidth + 16);
    for (uint32_t y = 0; y < kHeight; ++y) {
        for (uint32_t x = 0; x < image.bytesPerLine(); ++x) {
            image.line(y)[x] = static_cast<uint8_t>(sampleOf(x, y, 0, 8));
        }
    }
    return image;
}

TEST_F(Write, EveryTypeReadsBackAsItWas)
{
    for (const char* name : {"out.png", "out.tif", "OUT.TIFF"}) {
        for (uint16_t type = IMAGE_TYPE_BW; type <= IMAGE_TYPE_16MRGB; ++type) {
            SCOPED_TRACE(std::string(name) + ", " + typeName(type));
            const Image image = patterned(type);
            writePage(path(name), image);
            const Image back = readPage(path(name));
            EXPECT_NEAR(back.resolution.x, 300, 1e-3);
            EXPECT_NEAR(back.resolution.y, 200, 1e-3);
            for (uint32_t y = 0; y < kHeight; ++y) {
                for (uint32_t x = 0; x < kWidth; ++x) {
                    ASSERT_EQ(colorAt(back, x, y), colorAt(image, x, y)) << x << ", " << y;
                }
            }
        }
    }
    EXPECT_EQ(files(), (std::set<std::string>{"out.png", "out.tif", "OUT.TIFF"}));
}

TEST_F(Write, BilevelTiffIsGroup4WithWhiteZero)
{
    Image image(IMAGE_TYPE_BW, 8, 1);
    image.line(0)[0] = 0xF0; // white, then black
    writePage(path("out.tif"), image);
    TIFF* tiff = TIFFOpen(path("out.tif").c_str(), "r");
    uint16_t compression = 0;
    uint16_t photometric = 0;
    uint8_t raw = 0xAA;
    TIFFGetField(tiff, TIFFTAG_COMPRESSION, &compression);
    TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric);
    TIFFReadScanline(tiff, &raw, 0, 0);
    TIFFClose(tiff);
    EXPECT_EQ(compression, COMPRESSION_CCITTFAX4);
    EXPECT_EQ(photometric, PHOTOMETRIC_MINISWHITE);
    EXPECT_EQ(raw, 0x0F);
}

TEST_F(Write, BilevelPngHasOneBit)
{
    writePage(path("out.png"), patterned(IMAGE_TYPE_BW));
    const std::string bytes = bytesOf(path("out.png"));
    EXPECT_EQ(bytes[24], 1); // depth
    EXPECT_EQ(bytes[25], PNG_COLOR_TYPE_GRAY);
}

TEST_F(Write, ReplacesAnOldFileOnlyWhenDone)
{
    putBytes(path("out.tif"), "old");
    {
        PageWriter writer(path("out.tif"));
        writer.append(patterned(IMAGE_TYPE_BW));
        EXPECT_EQ(bytesOf(path("out.tif")), "old");
    }
    EXPECT_EQ(bytesOf(path("out.tif")), "old");
    EXPECT_EQ(files(), std::set<std::string>{"out.tif"});
    writePage(path("out.tif"), patterned(IMAGE_TYPE_BW));
    EXPECT_EQ(readPage(path("out.tif")).width(), kWidth);
}

TEST_F(Write, OnePageIsAllThatFitsIntoAPng)
{
    writeTiffPage(path("in.tif"), {"", 8});
    writeTiffPage(path("in.tif"), {"", 4}, "a");
    EXPECT_EQ(run({"halftone", path("in.tif"), path("out.png")}).code, ExitCode::Usage);
    EXPECT_EQ(files(), std::set<std::string>{"in.tif"});
    EXPECT_EQ(run({"halftone", path("in.tif"), path("out.png"), "--page", "2"}).code, ExitCode::Done);
    EXPECT_EQ(run({"halftone", path("in.tif"), path("out.png"), "--page", "3"}).code, ExitCode::Usage);
    EXPECT_EQ(run({"halftone", path("in.tif"), path("out.tif")}).code, ExitCode::Done);
    EXPECT_EQ(openPages(path("out.tif"))->count(), 2u);
}

TEST_F(Write, PlacesThatCannotBeWritten)
{
    writePngFile(path("in.png"), {"", PNG_COLOR_TYPE_GRAY});
    std::filesystem::create_directory(path("directory.png"));
    const std::set<std::string> before = files();
    for (const std::string& output : {path("missing/out.png"), path("directory.png"), std::string("/dev/null/x.tif")}) {
        const RunResult result = run({"halftone", path("in.png"), output});
        EXPECT_EQ(result.code, ExitCode::WriteFailed) << output;
        EXPECT_EQ(result.errors.find("lxpage: cannot write '" + output + "': "), 0u) << result.errors;
    }
    EXPECT_EQ(files(), before);
}

TEST_F(Write, SignalsLeaveNoTemporaryFiles)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGXFSZ}) {
        const auto writeAndRaise = [&] {
            prepareForSignals();
            {
                PageWriter first(path("first.tif"));
                PageWriter second(path("second.tif"));
                PageWriter third(path("third.png"));
                second.append(patterned(IMAGE_TYPE_BW));
                second.finish();
                std::raise(signal);
            }
            std::_Exit(0);
        };
        const bool ignored = signal == SIGPIPE || signal == SIGXFSZ;
        const auto hasEnded = [&](int status) {
            return ignored ? testing::ExitedWithCode(0)(status) : testing::KilledBySignal(signal)(status);
        };
        EXPECT_EXIT(writeAndRaise(), hasEnded, "") << strsignal(signal);
        EXPECT_EQ(files(), std::set<std::string>{"second.tif"});
    }
}

// A limit on the size of files stands for a full disk.
TEST_F(Write, FullDiskLeavesNothing)
{
    const Image page = patterned(IMAGE_TYPE_16MRGB);
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    for (const char* name : {"out.png", "out.tif"}) {
        const rlimit tight = {700, old.rlim_max};
        setrlimit(RLIMIT_FSIZE, &tight);
        ExitCode code = ExitCode::Done;
        try {
            writePage(path(name), page);
        } catch (const PageError& error) {
            code = error.code();
        }
        setrlimit(RLIMIT_FSIZE, &old);
        EXPECT_EQ(code, ExitCode::WriteFailed) << name;
    }
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_EQ(files(), std::set<std::string>{});
}

} // namespace

} // namespace lxpage
