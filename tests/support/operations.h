// The one table of operations: what the layout and thread tests run every function of the library by.
//
// A family of functions adds its rows in operations/<family>.cpp, and its adder in support/operations.cpp. A row says
// which formats an operation takes and how to call it; everything else (pictures, sizes, places in memory, line orders,
// colour orders, guards, progress) is the tests' business.

#pragma once

#include "support/random.h"

#include "lx.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

namespace lxtest
{

// One call of an operation. Parameters are constants, or drawn from `random`, which gives the same numbers in every
// layout of a case.
struct Call {
    const ImageArea* source; // of an operation in place: the same as destination
    const ImageArea* destination;
    ProgressCallback progress;
    Random random;
    std::vector<uint8_t> kept;

    // What else the operation writes (phases, an error buffer, an angle): must come out equal in every layout too.
    // Numbers are kept with their lowest byte first.
    template <class Number>
    void keep(const Number* numbers, size_t bytes)
    {
        for (size_t k = 0; k < bytes / sizeof(Number); ++k) {
            uint8_t number[sizeof(Number)];
            std::memcpy(number, numbers + k, sizeof number);
            if constexpr (std::endian::native == std::endian::big)
                std::reverse(std::begin(number), std::end(number));
            kept.insert(kept.end(), std::begin(number), std::end(number));
        }
    }
};

struct Size {
    uint32_t width;
    uint32_t height;
};

struct Operation {
    std::string name;
    std::vector<uint16_t> sourceTypes; // empty: the operation works in place, on one area
    std::vector<uint16_t> destinationTypes;
    std::function<int8_t(Call&)> run; // returns the status, which must be IMAGE_STATUS_OK

    // Pairs of types that the operation takes, if it does not take them all.
    std::function<bool(uint16_t source, uint16_t destination)> takes = {};

    // Changes the sizes that the test has in mind: of the source (anything, often wide or high) and of the
    // destination (mostly the source's, sometimes a little more or less).
    std::function<void(Size& source, Size& destination, Random& random)> fit = {};

    // It draws from the C library's generator, so that calls on several threads disturb each other.
    bool draws = false;

    // It tells values of colorOrder apart that stand for the same order.
    bool comparesColorOrders = false;

    // It takes full-colour bytes over in their stored order, and expects both areas to have the same one.
    bool keepsColorOrder = false;

    // It reports progress by a rule of its own, or over other lines than those of the areas' overlap.
    bool ownProgress = false;

    // What each destination pixel shows depends on more than the overlap of the areas.
    bool readsBeyondOverlap = false;

    // Other types are not all refused: other rows of the same function take them.
    bool takesOtherTypes = false;

    // The status for a source type above 6 with a destination type that is taken.
    int8_t unknownSourceStatus = IMAGE_STATUS_BAD_ARGUMENT;

    bool inPlace() const { return sourceTypes.empty(); }
};

using Operations = std::vector<Operation>;

// An operation with one of its pairs of types; in place, both are the area's type.
struct TypedOperation {
    const Operation* operation;
    uint16_t sourceType;
    uint16_t destinationType;

    std::string name() const;
};

inline std::ostream& operator<<(std::ostream& out, const TypedOperation& typed)
{
    return out << typed.name();
}

const std::vector<TypedOperation>& allOperations();

inline const std::vector<uint16_t> everyType = {0, 1, 2, 3, 4, 5, 6};

// The fixed palette of a type.
ColorPalette paletteOf(uint16_t type);

// Adders, one per family.
void addGrayOperations(Operations& operations);
void addBilevelOperations(Operations& operations);
void addPaletteColorOperations(Operations& operations);
void addRotationOperations(Operations& operations);
void addFullColorOperations(Operations& operations);
void addBilevelScaling(Operations& operations);
void addResolutionOperations(Operations& operations);
void addThumbnailOperations(Operations& operations);
void addMedianOperations(Operations& operations);
void addSlantOperations(Operations& operations);
void addCorrectOperations(Operations& operations);
void addComposeOperations(Operations& operations);

} // namespace lxtest
