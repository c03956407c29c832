// OpenCV holds no packed pixels, so that what is bilevel here is a page of bytes there: those contenders are rougher.
// It writes into memory that its matrices keep from call to call.
#include "../families.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

namespace bench
{
namespace
{

// The page in place; bilevel pixels as bytes 0 and 255.
cv::Mat matrixOf(uint16_t type)
{
    const Picture& source = page(type);
    const int width = int(pageWidth), height = int(pageHeight);
    if (type != IMAGE_TYPE_BW) {
        const int channels = type == IMAGE_TYPE_16MRGB ? 3 : 1;
        return cv::Mat(height, width, CV_8UC(channels), source.pixels(), source.bytesPerLine());
    }
    cv::Mat bytes(height, width, CV_8UC1);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int bit = source.line(uint32_t(y))[x / 8] >> (7 - x % 8) & 1;
            bytes.at<uint8_t>(y, x) = uint8_t(bit * 255);
        }
    }
    return bytes;
}

// A function from the page to another matrix, which it may allocate in its first call.
template <typename Function>
Prepare fromPage(uint16_t type, Function function)
{
    return [type, function]() -> Run {
        return [source = matrixOf(type), result = cv::Mat(), function]() mutable {
            function(source, result);
            return !result.empty();
        };
    };
}

void toGray(const cv::Mat& source, cv::Mat& result)
{
    cv::cvtColor(source, result, cv::COLOR_RGB2GRAY);
}

auto threshold(double level)
{
    return [level](const cv::Mat& source, cv::Mat& result) {
        cv::threshold(source, result, level, 255, cv::THRESH_BINARY);
    };
}

Prepare colorToBilevel()
{
    return fromPage(IMAGE_TYPE_16MRGB, [gray = cv::Mat()](const cv::Mat& source, cv::Mat& result) mutable {
        toGray(source, gray);
        threshold(191)(gray, result);
    });
}

// The same entry for the same byte: a table of the first component does for the time of a lookup.
auto lookUp(uint16_t type)
{
    cv::Mat table(1, 256, CV_8UC1);
    const ColorPalette palette = paletteOf(type);
    for (int index = 0; index < 256; ++index) {
        table.at<uint8_t>(index) = palette.entries[index][0];
    }
    return [table](const cv::Mat& source, cv::Mat& result) { cv::LUT(source, table, result); };
}

auto window(int size)
{
    return [size](const cv::Mat& source, cv::Mat& result) {
        cv::boxFilter(source, result, CV_8U, {size, size}, {0, 0}, true, cv::BORDER_REPLICATE);
    };
}

void addConversionPeers(Operations& operations)
{
    const auto add = [&](const std::string& operation, uint16_t type, auto function) {
        operations.addPeer(operation, "OpenCV", fromPage(type, function));
    };
    const auto addToBytes = [&](const std::string& operation, uint16_t type, auto function) {
        operations.addPeer(operation, "OpenCV to bytes", fromPage(type, function), Job::Rougher);
    };
    add("colour to 256 gray", IMAGE_TYPE_16MRGB, toGray);
    add("colour to 256 gray, green", IMAGE_TYPE_16MRGB,
        [](const cv::Mat& source, cv::Mat& result) { cv::extractChannel(source, result, 1); });
    add("gray to grayscale", IMAGE_TYPE_256GRAY, lookUp(IMAGE_TYPE_256GRAY));
    add("256 colours to grayscale", IMAGE_TYPE_256RGB, lookUp(IMAGE_TYPE_256RGB));
    add("colour to grayscale", IMAGE_TYPE_16MRGB, toGray);
    for (const int size : {1, 4, 16, 64, 255, 300}) {
        operations.addPeer("bilevel window to gray, N = " + std::to_string(size), "OpenCV on bytes",
                           fromPage(IMAGE_TYPE_BW, window(size)), Job::Rougher);
    }
    addToBytes("gray to bilevel, threshold", IMAGE_TYPE_256GRAY, threshold(128));
    addToBytes("gray to bilevel, fixed", IMAGE_TYPE_256GRAY, threshold(191));
    operations.addPeer("colour to bilevel, fixed", "OpenCV to bytes", colorToBilevel(), Job::Rougher);
}

auto resize(uint32_t width, uint32_t height, int method)
{
    return [=](const cv::Mat& source, cv::Mat& result) {
        cv::resize(source, result, {int(width), int(height)}, 0, 0, method);
    };
}

void addColorPeers(Operations& operations)
{
    operations.addPeer("gray to colour", "OpenCV",
                       fromPage(IMAGE_TYPE_256GRAY, [](const cv::Mat& source, cv::Mat& result) {
                           cv::cvtColor(source, result, cv::COLOR_GRAY2RGB);
                       }));
    operations.addPeer("swap of component order", "OpenCV",
                       fromPage(IMAGE_TYPE_16MRGB, [](const cv::Mat& source, cv::Mat& result) {
                           cv::cvtColor(source, result, cv::COLOR_RGB2BGR);
                       }));
}

void addScalingPeers(Operations& operations)
{
    const auto add = [&](const std::string& operation, uint16_t type, uint32_t dpi, int method) {
        operations.addPeer(
            operation + ", 300 to " + std::to_string(dpi) + " dpi", "OpenCV",
            fromPage(type, resize((pageWidth * dpi + 150) / 300, (pageHeight * dpi + 150) / 300, method)));
    };
    for (const uint32_t dpi : {100U, 72U}) {
        add("averaging, gray", IMAGE_TYPE_256GRAY, dpi, cv::INTER_AREA);
        add("averaging, colour", IMAGE_TYPE_16MRGB, dpi, cv::INTER_AREA);
    }
    for (const uint32_t dpi : {200U, 450U, 600U}) {
        add("interpolation, gray", IMAGE_TYPE_256GRAY, dpi, cv::INTER_LINEAR);
        add("interpolation, colour", IMAGE_TYPE_16MRGB, dpi, cv::INTER_LINEAR);
        add("sampling, gray", IMAGE_TYPE_256GRAY, dpi, cv::INTER_NEAREST);
        add("sampling, colour", IMAGE_TYPE_16MRGB, dpi, cv::INTER_NEAREST);
    }
    operations.addPeer("thumbnail, colour", "OpenCV", fromPage(IMAGE_TYPE_16MRGB, resize(200, 283, cv::INTER_AREA)));
    operations.addPeer("thumbnail, gray", "OpenCV", fromPage(IMAGE_TYPE_256GRAY, resize(200, 283, cv::INTER_AREA)));
}

auto tone()
{
    cv::Mat table(1, 256, CV_8UC1);
    for (int level = 0; level < 256; ++level) {
        table.at<uint8_t>(level) = uint8_t(255 - level * level / 255);
    }
    return [table](const cv::Mat& source, cv::Mat& result) { cv::LUT(source, table, result); };
}

auto colorMatrix()
{
    const cv::Mat matrix = (cv::Mat_<float>(3, 3) << 1.1F, -0.26F, 0.17F, 0.17F, 1.1F, -0.26F, -0.26F, 0.17F, 1.1F);
    return [matrix](const cv::Mat& source, cv::Mat& result) { cv::transform(source, result, matrix); };
}

// One linear kernel, where ours is another for each sign of the contrast.
auto sharpening(float corner, float side)
{
    const float centre = 1 - 4 * (corner + side);
    const cv::Mat kernel = (cv::Mat_<float>(3, 3) << corner, side, corner, side, centre, side, corner, side, corner);
    return [kernel](const cv::Mat& source, cv::Mat& result) {
        cv::filter2D(source, result, CV_8U, kernel, {-1, -1}, 0, cv::BORDER_REPLICATE);
    };
}

void addCorrectionPeers(Operations& operations)
{
    operations.addPeer("tone table, gray", "OpenCV", fromPage(IMAGE_TYPE_256GRAY, tone()));
    operations.addPeer("tone table, colour", "OpenCV", fromPage(IMAGE_TYPE_16MRGB, tone()));
    operations.addPeer("colour matrix", "OpenCV", fromPage(IMAGE_TYPE_16MRGB, colorMatrix()));
    const auto addSharpening = [&](const std::string& name, uint16_t type) {
        operations.addPeer("MTF separated, " + name, "OpenCV, one linear kernel", fromPage(type, sharpening(0, -0.1F)),
                           Job::Rougher);
        operations.addPeer("MTF cross, " + name, "OpenCV, one linear kernel", fromPage(type, sharpening(-0.07F, 0.02F)),
                           Job::Rougher);
    };
    const auto median = [](const cv::Mat& source, cv::Mat& result) { cv::medianBlur(source, result, 3); };
    operations.addPeer("median, gray", "OpenCV", fromPage(IMAGE_TYPE_256GRAY, median));
    operations.addPeer("median, colour", "OpenCV", fromPage(IMAGE_TYPE_16MRGB, median));
    operations.addPeer("majority, bilevel", "OpenCV on bytes", fromPage(IMAGE_TYPE_BW, median), Job::Rougher);
    addSharpening("gray", IMAGE_TYPE_256GRAY);
    addSharpening("colour", IMAGE_TYPE_16MRGB);
}

void addCompositingPeers(Operations& operations)
{
    const auto paste = [](const cv::Mat& source, cv::Mat& result) { source.copyTo(result); };
    const auto overlay = [mask = cv::Mat()](const cv::Mat& source, cv::Mat& result) mutable {
        cv::inRange(source, cv::Scalar::all(236), cv::Scalar::all(254), mask);
        cv::bitwise_not(mask, mask);
        source.copyTo(result, mask);
    };
    operations.addPeer("paste gray", "OpenCV", fromPage(IMAGE_TYPE_256GRAY, paste));
    operations.addPeer("paste colour", "OpenCV", fromPage(IMAGE_TYPE_16MRGB, paste));
    operations.addPeer("paste with key, gray", "OpenCV", fromPage(IMAGE_TYPE_256GRAY, overlay));
    operations.addPeer("paste with key, colour", "OpenCV", fromPage(IMAGE_TYPE_16MRGB, overlay));

    const auto paint = [](const cv::Mat& source, cv::Mat& result) {
        result.create(source.size(), source.type());
        result.setTo(cv::Scalar(100, 200, 50));
    };
    // The lower of the pixel and of its mix with the colour, which is rounded.
    const auto tint = [mixed = cv::Mat()](const cv::Mat& source, cv::Mat& result) mutable {
        cv::transform(source, mixed, cv::Mat(cv::Matx34f(0.25F, 0, 0, 75, 0, 0.25F, 0, 150, 0, 0, 0.25F, 37.5F)));
        cv::min(source, mixed, result);
    };
    operations.addPeer("mask, paint, colour", "OpenCV", fromPage(IMAGE_TYPE_16MRGB, paint));
    operations.addPeer("mask, tint, colour", "OpenCV", fromPage(IMAGE_TYPE_16MRGB, tint), Job::Rougher);
}

auto turn(int code)
{
    return [code](const cv::Mat& source, cv::Mat& result) { cv::rotate(source, result, code); };
}

// Nearest pixels, and the destination's own background where there is none.
auto turnByAngle(double degrees)
{
    const cv::Mat matrix = cv::getRotationMatrix2D({pageWidth / 2.0F, pageHeight / 2.0F}, -degrees, 1);
    return [matrix](const cv::Mat& source, cv::Mat& result) {
        result.create(source.size(), source.type());
        cv::warpAffine(source, result, matrix, source.size(), cv::INTER_NEAREST, cv::BORDER_TRANSPARENT);
    };
}

void addRotationPeers(Operations& operations)
{
    constexpr struct {
        const char* name;
        uint16_t type;
    } formats[] = {{"gray", IMAGE_TYPE_256GRAY}, {"colour", IMAGE_TYPE_16MRGB}};
    for (const auto& [name, type] : formats) {
        const std::string prefix = std::string("turn ") + name + " by ";
        operations.addPeer(prefix + "90", "OpenCV", fromPage(type, turn(cv::ROTATE_90_CLOCKWISE)));
        operations.addPeer(prefix + "180", "OpenCV", fromPage(type, turn(cv::ROTATE_180)));
        operations.addPeer(prefix + "270", "OpenCV", fromPage(type, turn(cv::ROTATE_90_COUNTERCLOCKWISE)));
        for (const char* degrees : {"0.3", "2.3", "30"}) {
            operations.addPeer(prefix + degrees + " degrees", "OpenCV",
                               fromPage(type, turnByAngle(std::stod(degrees))));
        }
    }
}

} // namespace

std::string addOpenCv(Operations& operations)
{
    cv::setNumThreads(1);
    addConversionPeers(operations);
    addColorPeers(operations);
    addScalingPeers(operations);
    addRotationPeers(operations);
    addCorrectionPeers(operations);
    addCompositingPeers(operations);
    return "OpenCV " CV_VERSION;
}

} // namespace bench
