// Thumbnails.

#include "support/operations.h"

namespace lxtest
{

namespace
{

int8_t makeThumbnail(Call& call)
{
    ImageArea thumbnail = *call.destination;
    ImageArea work[2];
    const int8_t used = lxCalculateThumbnailMemorySize(call.source, &thumbnail, &work[0], &work[1]);
    std::vector<uint8_t> buffers[2];
    for (int k = 0; k < 2; ++k) {
        if ((used >> k & 1) != 0)
            buffers[k].resize(size_t{work[k].bytesPerLine} * work[k].lines);
        work[k].buffer = buffers[k].data();
    }
    return lxCreateThubmnailImage(call.source, call.destination, &work[0], &work[1], call.progress);
}

} // namespace

void addThumbnailOperations(Operations& operations)
{
    operations.push_back({.name = "Thumbnail",
                          .sourceTypes = everyType,
                          .destinationTypes = everyType,
                          .run = makeThumbnail,
                          .takes =
                              [](uint16_t source, uint16_t destination) {
                                  if (source == IMAGE_TYPE_BW)
                                      return destination == IMAGE_TYPE_256GRAY;
                                  if (source == IMAGE_TYPE_8RGB)
                                      return destination == IMAGE_TYPE_16MRGB;
                                  return destination == source;
                              },
                          .fit =
                              [](Size& source, Size& destination, Random& random) {
                                  const uint32_t factor = random.between(2, 9);
                                  source.width += 2;
                                  source.height += 2;
                                  destination = {(source.width - 1) / factor + 1, (source.height - 1) / factor + 1};
                              },
                          .keepsColorOrder = true,
                          .ownProgress = true,
                          .takesOtherTypes = true});
}

} // namespace lxtest
