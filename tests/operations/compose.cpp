// Compositing and masking.

#include "support/operations.h"

namespace lxtest
{

namespace
{

// With few colours in palette and key, so that keys match now and then.
int8_t synthesize(Call& call, uint16_t useKey)
{
    ColorPalette palette = paletteOf(call.source->type);
    for (unsigned k = 0; k < 256; k += call.random.between(1, 20)) {
        for (uint8_t& component : palette.entries[k])
            component = static_cast<uint8_t>(call.random.below(3) * 0x7F);
    }
    const uint8_t* entry = palette.entries[call.random.below(call.source->type == IMAGE_TYPE_BW ? 2 : 16)];
    const uint8_t key[3] = {entry[0], entry[1], entry[2]};
    return lxSynthesizeToSpecificationArea(useKey, call.source, &palette, key, call.random.below(400), call.destination,
                                           call.progress);
}

int8_t mask(Call& call, uint16_t tint)
{
    uint8_t color[3];
    call.random.fill(color, sizeof color);
    return lxMaskingBySpecificationColor(tint, color, call.destination, call.progress);
}

const std::vector<uint16_t> composedTypes = {IMAGE_TYPE_BW, IMAGE_TYPE_256GRAY, IMAGE_TYPE_8RGB, IMAGE_TYPE_16MRGB};

} // namespace

void addComposeOperations(Operations& operations)
{
    // A source of another type is read as its palette says.
    operations.push_back({.name = "Synthesize",
                          .sourceTypes = everyType,
                          .destinationTypes = composedTypes,
                          .run = [](Call& call) { return synthesize(call, 0); },
                          .takesOtherTypes = true});
    operations.push_back({.name = "SynthesizeWithKey",
                          .sourceTypes = everyType,
                          .destinationTypes = composedTypes,
                          .run = [](Call& call) { return synthesize(call, 0x100); },
                          .takesOtherTypes = true});
    operations.push_back({"MaskByPaint", {}, composedTypes, [](Call& call) { return mask(call, 0); }});
    operations.push_back({"MaskByTint", {}, composedTypes, [](Call& call) { return mask(call, 0x100); }});
}

} // namespace lxtest
