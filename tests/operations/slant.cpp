// Slant measurement: from the page to the bilevel area of its own size.

#include "support/operations.h"

#include <algorithm>

namespace lxtest
{

void addSlantOperations(Operations& operations)
{
    operations.push_back({.name = "DetectionSlantAngle",
                          .sourceTypes = everyType,
                          .destinationTypes = {IMAGE_TYPE_BW},
                          .run =
                              [](Call& call) {
                                  ImageArea small;
                                  ImageArea medium;
                                  ImageArea full;
                                  lxCalculateMemorySizeForDetectionSlantAngle(call.source, &small, &medium, &full);
                                  // Small areas do here, and take less time.
                                  medium.width = std::max(medium.width / 16, 2U);
                                  medium.height = std::max(medium.height / 16, 2U);
                                  small.width = medium.width / 2;
                                  small.height = medium.height / 2;
                                  std::vector<uint8_t> smallBits(size_t{small.bytesPerLine} * small.height);
                                  std::vector<uint8_t> mediumBits(size_t{medium.bytesPerLine} * medium.height);
                                  small.buffer = smallBits.data();
                                  medium.buffer = mediumBits.data();
                                  full = *call.destination;
                                  const ColorPalette palette = paletteOf(call.source->type);
                                  double angle = -1;
                                  const int8_t status = lxDetectionSlantAngle(&angle, call.source, &palette, &small,
                                                                              &medium, &full, call.progress);
                                  call.keep(&angle, sizeof angle);
                                  call.keep(smallBits.data(), smallBits.size());
                                  return status;
                              },
                          .fit =
                              [](Size& source, Size& destination, Random& random) {
                                  source = {std::clamp(source.width, 1U, 300U), std::clamp(source.height, 1U, 300U)};
                                  destination = source;
                                  destination.width += random.below(3);
                              },
                          .ownProgress = true});
}

} // namespace lxtest
