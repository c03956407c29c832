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
    addRotationPeers(operations);
    return "libyuv " + std::to_string(LIBYUV_VERSION);
}

} // namespace bench
