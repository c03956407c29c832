// libyuv converts video frames, in place of memory given to it, on one thread.
#include "../families.h"

#include <libyuv.h>

namespace bench
{
namespace
{

Run colorToGray()
{
    return [&from = page(IMAGE_TYPE_16MRGB), to = Picture({IMAGE_TYPE_256GRAY})] {
        return libyuv::RAWToJ400(from.pixels(), int(from.bytesPerLine()), to.pixels(), int(to.bytesPerLine()),
                                 int(pageWidth), int(pageHeight)) == 0;
    };
}

void addConversionPeers(Operations& operations)
{
    operations.addPeer("colour to 256 gray", "libyuv", colorToGray);
    operations.addPeer("colour to grayscale", "libyuv", colorToGray);
}

// The page's components as planes of their own.
std::shared_ptr<uint8_t[]> planesOf(uint16_t type)
{
    const Picture& source = page(type);
    const std::size_t channels = type == IMAGE_TYPE_16MRGB ? 3 : 1;
    const std::size_t pixels = std::size_t(pageWidth) * pageHeight;
    auto planes = allocate(pixels * channels);
    for (std::size_t c = 0; c < channels; ++c) {
        for (std::size_t k = 0; k < pixels; ++k) {
            planes[c * pixels + k] = source.pixels()[k * channels + c];
        }
    }
    return planes;
}

Prepare scaledPlanes(uint16_t type, uint32_t width, uint32_t height, libyuv::FilterMode filter)
{
    return [=]() -> Run {
        const std::size_t channels = type == IMAGE_TYPE_16MRGB ? 3 : 1;
        return [=, from = planesOf(type), to = allocate(std::size_t(width) * height * channels)] {
            for (std::size_t c = 0; c < channels; ++c) {
                libyuv::ScalePlane(from.get() + c * pageWidth * pageHeight, int(pageWidth), int(pageWidth),
                                   int(pageHeight), to.get() + c * width * height, int(width), int(width), int(height),
                                   filter);
            }
            return true;
        };
    };
}

Prepare turn(libyuv::RotationMode mode)
{
    return [mode]() -> Run {
        const bool lying = mode != libyuv::kRotate180;
        const Shape shape = lying ? Shape{IMAGE_TYPE_256GRAY, pageHeight, pageWidth} : Shape{IMAGE_TYPE_256GRAY};
        return [mode, &from = page(IMAGE_TYPE_256GRAY), to = Picture(shape)] {
            return libyuv::RotatePlane(from.pixels(), int(from.bytesPerLine()), to.pixels(), int(to.bytesPerLine()),
                                       int(pageWidth), int(pageHeight), mode) == 0;
        };
    };
}

// Averages all blocks in its own fixed point, and interpolates with weights of 7 bits.
void addScalingPeers(Operations& operations)
{
    const auto add = [&](const std::string& operation, uint16_t type, uint32_t dpi, libyuv::FilterMode filter) {
        operations.addPeer(operation + ", 300 to " + std::to_string(dpi) + " dpi",
                           type == IMAGE_TYPE_16MRGB ? "libyuv on planes" : "libyuv",
                           scaledPlanes(type, (pageWidth * dpi + 150) / 300, (pageHeight * dpi + 150) / 300, filter));
    };
    for (const uint32_t dpi : {100U, 72U}) {
        add("averaging, gray", IMAGE_TYPE_256GRAY, dpi, libyuv::kFilterBox);
        add("averaging, colour", IMAGE_TYPE_16MRGB, dpi, libyuv::kFilterBox);
    }
    for (const uint32_t dpi : {200U, 450U, 600U}) {
        add("interpolation, gray", IMAGE_TYPE_256GRAY, dpi, libyuv::kFilterBilinear);
        add("interpolation, colour", IMAGE_TYPE_16MRGB, dpi, libyuv::kFilterBilinear);
        add("sampling, gray", IMAGE_TYPE_256GRAY, dpi, libyuv::kFilterNone);
    }
    operations.addPeer("thumbnail, gray", "libyuv", scaledPlanes(IMAGE_TYPE_256GRAY, 200, 283, libyuv::kFilterBox));
    operations.addPeer("thumbnail, colour", "libyuv on planes",
                       scaledPlanes(IMAGE_TYPE_16MRGB, 200, 283, libyuv::kFilterBox));
}

void addRotationPeers(Operations& operations)
{
    operations.addPeer("turn gray by 90", "libyuv", turn(libyuv::kRotate90));
    operations.addPeer("turn gray by 180", "libyuv", turn(libyuv::kRotate180));
    operations.addPeer("turn gray by 270", "libyuv", turn(libyuv::kRotate270));
}

} // namespace

std::string addLibyuv(Operations& operations)
{
    addConversionPeers(operations);
    addScalingPeers(operations);
    addRotationPeers(operations);
    return "libyuv " + std::to_string(LIBYUV_VERSION);
}

} // namespace bench
