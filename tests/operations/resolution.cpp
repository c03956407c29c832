// Changes of size.

#include "support/operations.h"

#include <algorithm>

namespace lxtest
{

namespace
{

uint32_t resized(uint32_t length, uint32_t most, Random& random)
{
    uint32_t size = 0;
    switch (random.below(6)) {
    case 0:
        size = length;
        break;
    case 1:
        size = length / random.between(2, 40);
        break;
    case 2:
        size = length * random.between(2, 5) + random.below(9);
        break;
    case 3:
        size = length + random.below(9);
        break;
    case 4:
        size = length - random.below(length / 2 + 1);
        break;
    default:
        size = random.below(2 * length);
    }
    return std::clamp(size, 1U, most);
}

void fitSizes(Size& source, Size& destination, Random& random)
{
    source.width = std::max(source.width, 1U);
    source.height = std::max(source.height, 1U);
    destination = {resized(source.width, 8300, random), resized(source.height, 150, random)};
}

bool sameType(uint16_t source, uint16_t destination)
{
    return source == destination;
}

int8_t convertSize(Call& call)
{
    constexpr uint16_t methods[] = {0, 1, 2, 3, 5, 6, 0xFFFF};
    constexpr uint16_t bilevelMethods[] = {0, 2};
    uint16_t method = call.random.pick(methods);
    if (call.source->type == IMAGE_TYPE_BW)
        method = call.random.pick(bilevelMethods);
    else if (call.source->type == IMAGE_TYPE_8RGB)
        method = 0;
    return lxResolutionConvert(method, call.source, call.destination, call.progress);
}

} // namespace

void addResolutionOperations(Operations& operations)
{
    operations.push_back({.name = "ResolutionConvert",
                          .sourceTypes = everyType,
                          .destinationTypes = everyType,
                          .run = convertSize,
                          .takes = sameType,
                          .fit = fitSizes,
                          .keepsColorOrder = true,
                          .ownProgress = true});
    operations.push_back(
        {.name = "Scale8ColorByDiffusion",
         .sourceTypes = {IMAGE_TYPE_8RGB},
         .destinationTypes = {IMAGE_TYPE_8RGB},
         .run = [](Call& call) { return lxResolutionConvert(1, call.source, call.destination, call.progress); },
         .fit = fitSizes,
         .draws = true,
         .ownProgress = true,
         .takesOtherTypes = true});
}

} // namespace lxtest
