#include "gray.h"

namespace lxpage
{

const std::map<std::string, Channel> channelNames = {
    {"sum", Channel::Sum}, {"red", Channel::Red}, {"green", Channel::Green}, {"blue", Channel::Blue}};

void convertToGray(const Image& page, const ImageArea& from, Channel channel, const ImageArea& to,
                   ProgressCallback progress)
{
    if (page.type() == IMAGE_TYPE_16MRGB) {
        expectOk(lxImageTypeConvertTo256Gray(static_cast<uint16_t>(channel), &from, &to, progress),
                 "lxImageTypeConvertTo256Gray");
    } else {
        expectOk(lxImageTypeConvertToGrayscale(&page.palette, &from, &to, progress), "lxImageTypeConvertToGrayscale");
    }
}

} // namespace lxpage
