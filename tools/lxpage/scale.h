// A page of any kind brought to another size.
#ifndef LXPAGE_SCALE_H
#define LXPAGE_SCALE_H

#include "image.h"
#include "progress_bar.h"

#include <string>
#include <vector>

namespace lxpage
{

enum class ScaleMethod { Sampling, Averaging, Interpolation, Smooth, Majority, Runs, BlackPriority };

// Names of the methods, and the method of such a name.
std::vector<std::string> scaleMethodNames();
ScaleMethod scaleMethodNamed(const std::string& name);

// The method that suits a page: majority for bilevel pages, averaging for all others.
ScaleMethod suitableMethod(const Image& page);

// Some methods are for bilevel pages alone.
bool takes(ScaleMethod method, const Image& page);

// A page's new size. One of the three is asked for.
struct ScaleTarget {
    double factor = 0;
    double dpi = 0; // for pages that know their resolution
    uint32_t width = 0;
    uint32_t height = 0; // 0 with a width, and the other way round: keeps the proportions
};

struct PageSize {
    uint32_t width;
    uint32_t height;
};

// Throws a PageError if the page does not know its resolution and has to.
PageSize scaledSize(const Image& page, const ScaleTarget& target);

// Averaging and interpolation make 256 gray of bilevel pages and of gray ones, and full colour of those with a palette.
// Throws a usage error if the method does not take such a page or such a size.
Image scale(const Image& page, ScaleMethod method, const PageSize& size, ProgressBar& bar);

} // namespace lxpage

#endif
