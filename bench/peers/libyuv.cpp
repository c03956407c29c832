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

} // namespace

std::string addLibyuv(Operations& operations)
{
    addConversionPeers(operations);
    return "libyuv " + std::to_string(LIBYUV_VERSION);
}

} // namespace bench
