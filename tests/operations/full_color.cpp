// Conversions to full colour.

#include "support/operations.h"

namespace lxtest
{

void addFullColorOperations(Operations& operations)
{
    operations.push_back({.name = "ConvertTo16MRGB",
                          .sourceTypes = everyType,
                          .destinationTypes = {IMAGE_TYPE_16MRGB},
                          .run =
                              [](Call& call) {
                                  ColorPalette palette = paletteOf(call.source->type);
                                  call.random.fill(palette.entries[0], sizeof palette.entries);
                                  return lxImageTypeConvertTo16MRGB(&palette, call.source, call.destination,
                                                                    call.progress);
                              },
                          .comparesColorOrders = true});
    operations.push_back({"ConvertTo16MRGBFrom8RGB", {IMAGE_TYPE_8RGB}, {IMAGE_TYPE_16MRGB}, [](Call& call) {
                              constexpr uint16_t sizes[] = {1, 2, 3, 5, 8, 100, 65535};
                              return lxImageTypeConvertTo16MRGBFrom8RGB(call.random.pick(sizes), call.source,
                                                                        call.destination, call.progress);
                          }});
}

} // namespace lxtest
