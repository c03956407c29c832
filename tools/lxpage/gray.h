// Bringing a page of any kind to 256 gray, whole or in bands.
#ifndef LXPAGE_GRAY_H
#define LXPAGE_GRAY_H

#include "image.h"

#include <map>
#include <string>

namespace lxpage
{

// What becomes of a colour page: the weighted sum, or one component.
enum class Channel : uint16_t { Sum = 0, Red = 1, Green = 2, Blue = 3 };

// "sum", "red", "green" and "blue".
extern const std::map<std::string, Channel> channelNames;

// Writes the gray of `from`, an area of `page`, to the area `to`.
void convertToGray(const Image& page, const ImageArea& from, Channel channel, const ImageArea& to,
                   ProgressCallback progress);

} // namespace lxpage

#endif
