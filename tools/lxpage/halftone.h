// A page of any kind to bilevel, through 256 gray band by band or straight by the fixed threshold.
#ifndef LXPAGE_HALFTONE_H
#define LXPAGE_HALFTONE_H

#include "gray.h"
#include "image.h"
#include "progress_bar.h"

#include <string>
#include <vector>

namespace lxpage
{

enum class HalftoneMethod { Fixed, Threshold, Dither, Diffusion };

// Names of the built-in dither matrices, and the matrix of such a name.
std::vector<std::string> matrixNames();
DitherMatrix matrixNamed(const std::string& name);

// Names of the built-in error-diffusion kernels.
std::vector<std::string> kernelNames();
// The kernel of such a name, or of four weights "right,lower-left,below,lower-right"; else throws a usage error.
ErrorDiffusionKernel kernelFrom(const std::string& text);

struct HalftoneSettings {
    HalftoneMethod method = HalftoneMethod::Diffusion;
    Channel channel = Channel::Sum;
    ThresholdLevel threshold = {0, 100};
    DitherMatrix matrix = matrixNamed("bayer8");
    std::vector<ErrorDiffusionKernel> kernels = {kernelFrom("floyd-steinberg")};
    bool randomKernels = false;
    uint32_t bandLines = 128; // 0: the whole page at once
};

// Random kernels are always drawn for the whole page at once: every call of the library reseeds the generator from the
// clock, so that bands made within a second would repeat each other's kernels.
Image halftone(const Image& page, const HalftoneSettings& settings, ProgressBar& bar);

} // namespace lxpage

#endif
