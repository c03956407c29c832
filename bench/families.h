// The families of operations, each in a file of its own, and the libraries that they are compared with.
#ifndef LX_BENCH_FAMILIES_H
#define LX_BENCH_FAMILIES_H

#include "operation.h"

#include <string>

namespace bench
{

void addConversions(Operations& operations);
void addMultilevelScaling(Operations& operations);
void addThumbnails(Operations& operations);
void addPaletteColors(Operations& operations);
void addCorrections(Operations& operations);
void addCompositing(Operations& operations);
void addRotations(Operations& operations);
void addSlant(Operations& operations);
void addBilevelScaling(Operations& operations);

// Each returns its library's name and version.
std::string addLeptonica(Operations& operations);
std::string addLibyuv(Operations& operations);
std::string addOpenCv(Operations& operations);
std::string addZimg(Operations& operations);

} // namespace bench

#endif
