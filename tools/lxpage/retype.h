// Bringing pages to the types that an operation takes, and reading lists of numbers from options.
#ifndef LXPAGE_RETYPE_H
#define LXPAGE_RETYPE_H

#include "image.h"

#include <string>
#include <vector>

namespace lxpage
{

// The page in full colour.
Image toColor(const Image& page);

// The page as it is if bilevel, 256 gray or full colour; 16 gray becomes 256 gray, palette colours full colour.
Image toPlain(const Image& page);

// The page as 256 gray or full colour: like toPlain, but bilevel becomes 256 gray, too.
Image toLevels(const Image& page);

// "1,2,3": `count` whole numbers from 0 to `most`; else throws a usage error that starts with the option's name.
std::vector<uint32_t> numbersFrom(const std::string& option, const std::string& text, size_t count, uint32_t most);

// "255,128,0": red, green and blue.
std::vector<uint8_t> colorFrom(const std::string& option, const std::string& text);

} // namespace lxpage

#endif
