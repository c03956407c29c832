// Conversions to gray.

#include "support/operations.h"

namespace lxtest
{

void addGrayOperations(Operations& operations)
{
    operations.push_back({"ConvertTo16Gray", {IMAGE_TYPE_256GRAY}, {IMAGE_TYPE_16GRAY}, [](Call& call) {
                              return lxImageTypeConvertTo16Gray(call.source, call.destination, call.progress);
                          }});
    operations.push_back({"ConvertTo256Gray", {IMAGE_TYPE_16MRGB}, {IMAGE_TYPE_256GRAY}, [](Call& call) {
                              const auto channel = static_cast<uint16_t>(call.random.below(5));
                              return lxImageTypeConvertTo256Gray(channel, call.source, call.destination, call.progress);
                          }});
    operations.push_back({.name = "ConvertToGrayscale",
                          .sourceTypes = everyType,
                          .destinationTypes = {IMAGE_TYPE_256GRAY},
                          .run =
                              [](Call& call) {
                                  ColorPalette palette = paletteOf(call.source->type);
                                  call.random.fill(reinterpret_cast<uint8_t*>(palette.entries), 60);
                                  return lxImageTypeConvertToGrayscale(&palette, call.source, call.destination,
                                                                       call.progress);
                              },
                          .unknownSourceStatus = IMAGE_STATUS_OK});
    operations.push_back({"ConvertToGrayscaleFromBW", {IMAGE_TYPE_BW}, {IMAGE_TYPE_256GRAY}, [](Call& call) {
                              constexpr uint16_t sizes[] = {1, 2, 3, 4, 7, 8, 9, 16, 100, 2049, 65535};
                              return lxImageTypeConvertToGrayscaleFromBW(call.random.pick(sizes), call.source,
                                                                         call.destination, call.progress);
                          }});
}

} // namespace lxtest
