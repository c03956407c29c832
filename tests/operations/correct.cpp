// Corrections of tone and colour, in place, and of sharpness.

#include "support/operations.h"

namespace lxtest
{

void addCorrectOperations(Operations& operations)
{
    operations.push_back(
        {"GammaCorrection", {}, {IMAGE_TYPE_BW, IMAGE_TYPE_256GRAY, IMAGE_TYPE_16MRGB}, [](Call& call) {
             GammaTable table;
             call.random.fill(table.entries, sizeof table.entries);
             return lxGammaCorrection(&table, call.destination, call.progress);
         }});
}

} // namespace lxtest
