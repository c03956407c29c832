// Rotation.
#include "families.h"

namespace bench
{
namespace
{

struct Format {
    const char* name;
    uint16_t type;
};

constexpr Format bilevel{"bilevel", IMAGE_TYPE_BW};
constexpr Format gray16{"16 gray", IMAGE_TYPE_16GRAY};
constexpr Format gray{"gray", IMAGE_TYPE_256GRAY};
constexpr Format color{"colour", IMAGE_TYPE_16MRGB};

Shape shapeOf(const Format& format, bool lying, uint32_t x)
{
    return lying ? Shape{format.type, pageHeight, pageWidth, x} : Shape{format.type, pageWidth, pageHeight, x};
}

// `sourceX` and `destinationX` shift the pixels inside the bytes.
void addQuarterTurn(Operations& operations, const Format& format, uint16_t turns, Goal goal, uint32_t sourceX = 0,
                    uint32_t destinationX = 0)
{
    std::string name = std::string("turn ") + format.name + " by " + std::to_string(turns * 90);
    if (sourceX != 0 || destinationX != 0) {
        name += ", x = " + std::to_string(sourceX) + " to " + std::to_string(destinationX);
    }
    operations.add(name, shapeOf(format, false, sourceX), shapeOf(format, turns != 2, destinationX), goal,
                   [turns](const ImageArea* source, const ImageArea* destination) {
                       return lxRotationBySimpleAngle(turns, source, destination, nullptr);
                   });
}

void addAnyAngle(Operations& operations, const Format& format, const char* degrees, Goal goal, uint32_t x = 0)
{
    std::string name = std::string("turn ") + format.name + " by " + degrees + " degrees";
    if (x != 0) {
        name += ", x = " + std::to_string(x);
    }
    operations.add(name, shapeOf(format, false, x), shapeOf(format, false, 0), goal,
                   [angle = std::stod(degrees)](const ImageArea* source, const ImageArea* destination) {
                       return lxRotationBySpecificationAngle(angle, source, destination, nullptr);
                   });
}

} // namespace

void addRotations(Operations& operations)
{
    for (const uint16_t turns : {uint16_t{1}, uint16_t{3}}) {
        addQuarterTurn(operations, bilevel, turns, {0.015, 0.002});
        addQuarterTurn(operations, gray16, turns, {});
        addQuarterTurn(operations, gray, turns, {0.06, 0.025});
        addQuarterTurn(operations, color, turns, {0.30, 0.13});
    }
    addQuarterTurn(operations, bilevel, 1, {0.015, 0.002}, 3, 6);
    addQuarterTurn(operations, bilevel, 2, {0.005, 0.002});
    addQuarterTurn(operations, bilevel, 2, {0.005, 0.002}, 3, 6);
    addQuarterTurn(operations, gray16, 2, {});
    addQuarterTurn(operations, gray, 2, {0.03, 0.025});
    addQuarterTurn(operations, color, 2, {0.15, 0.13});

    addAnyAngle(operations, bilevel, "2.3", {0.09, 0.002});
    addAnyAngle(operations, bilevel, "-2.3", {0.09, 0.002}, 3);
    addAnyAngle(operations, gray16, "2.3", {});
    addAnyAngle(operations, gray, "2.3", {0.12, 0.026});
    addAnyAngle(operations, color, "2.3", {0.30, 0.121});
    for (const char* degrees : {"0.3", "30"}) {
        for (const Format& format : {bilevel, gray, color}) {
            addAnyAngle(operations, format, degrees, {});
        }
    }
}

} // namespace bench
