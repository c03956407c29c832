// Noise removal.

#include "support/operations.h"

namespace lxtest
{

void addMedianOperations(Operations& operations)
{
    const std::vector<uint16_t> types = {IMAGE_TYPE_BW, IMAGE_TYPE_256GRAY, IMAGE_TYPE_8RGB, IMAGE_TYPE_16MRGB};
    operations.push_back({.name = "MedianFiltering",
                          .sourceTypes = types,
                          .destinationTypes = types,
                          .run =
                              [](Call& call) {
                                  constexpr uint32_t strengths[] = {0, 1, 2, 3, 4, 5, 7, 255, 0x100};
                                  return lxMedianFiltering(call.random.pick(strengths), call.source, call.destination,
                                                           call.progress);
                              },
                          .takes = [](uint16_t source, uint16_t destination) { return source == destination; },
                          .ownProgress = true});
    operations.push_back({.name = "MedianFilteringInPlace",
                          .sourceTypes = {},
                          .destinationTypes = types,
                          .run =
                              [](Call& call) {
                                  constexpr uint32_t strengths[] = {0, 1, 2, 4, 6};
                                  return lxMedianFiltering(call.random.pick(strengths), call.destination,
                                                           call.destination, call.progress);
                              },
                          .ownProgress = true});
}

} // namespace lxtest
