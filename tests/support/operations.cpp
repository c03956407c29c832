#include "support/operations.h"

#include "support/picture.h"

namespace lxtest
{

namespace
{

constexpr void (*adders[])(Operations&) = {
    addGrayOperations,      addBilevelOperations, addPaletteColorOperations, addRotationOperations,
    addFullColorOperations, addBilevelScaling,    addResolutionOperations,   addThumbnailOperations,
    addMedianOperations,    addSlantOperations,   addCorrectOperations,      addComposeOperations,
};

std::vector<TypedOperation> typedOperations(const Operations& operations)
{
    std::vector<TypedOperation> typed;
    for (const Operation& operation : operations) {
        for (const uint16_t destination : operation.destinationTypes) {
            if (operation.inPlace())
                typed.push_back({&operation, destination, destination});
            for (const uint16_t source : operation.sourceTypes)
                if (!operation.takes || operation.takes(source, destination))
                    typed.push_back({&operation, source, destination});
        }
    }
    return typed;
}

} // namespace

std::string TypedOperation::name() const
{
    const std::string types = std::string("_") + nameOf(sourceType) + "_" + nameOf(destinationType);
    return operation->name + (operation->inPlace() ? std::string("_") + nameOf(destinationType) : types);
}

const std::vector<TypedOperation>& allOperations()
{
    static const Operations operations = [] {
        Operations all;
        for (const auto add : adders)
            add(all);
        return all;
    }();
    static const std::vector<TypedOperation> typed = typedOperations(operations);
    return typed;
}

ColorPalette paletteOf(uint16_t type)
{
    ColorPalette palette = {};
    palette.type = type;
    lxGetColorPalette(&palette);
    return palette;
}

} // namespace lxtest
