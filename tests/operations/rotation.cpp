// Rotation.

#include "support/operations.h"

#include <algorithm>
#include <utility>

namespace lxtest
{

namespace
{

bool sameType(uint16_t source, uint16_t destination)
{
    return source == destination;
}

void swapSides(Size& source, Size& destination, Random& random)
{
    source.width = std::min(source.width, 1100U); // as many lines will do
    destination.width = std::min(destination.width, 1100U);
    if (random.chance(90))
        std::swap(destination.width, destination.height);
}

} // namespace

void addRotationOperations(Operations& operations)
{
    for (const uint16_t angle : {uint16_t{1}, uint16_t{2}, uint16_t{3}}) {
        operations.push_back({.name = "RotationBySimpleAngle" + std::to_string(angle),
                              .sourceTypes = everyType,
                              .destinationTypes = everyType,
                              .run =
                                  [angle](Call& call) {
                                      return lxRotationBySimpleAngle(angle, call.source, call.destination,
                                                                     call.progress);
                                  },
                              .takes = sameType,
                              .fit = angle != 2 ? swapSides : nullptr,
                              .ownProgress = true,
                              .readsBeyondOverlap = true});
    }
    operations.push_back({.name = "RotationBySpecificationAngle",
                          .sourceTypes = everyType,
                          .destinationTypes = everyType,
                          .run =
                              [](Call& call) {
                                  const double steepness = call.random.chance(50) ? 15 : 400;
                                  const double angle = (call.random.unit() - 0.5) * steepness;
                                  return lxRotationBySpecificationAngle(angle, call.source, call.destination,
                                                                        call.progress);
                              },
                          .takes = sameType,
                          .readsBeyondOverlap = true});
}

} // namespace lxtest
