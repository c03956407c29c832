/* The header on its own, in C11, and a call through the shared library. */

#include "lx.h"

#include <stdio.h>
#include <string.h>

_Static_assert(IMAGE_TYPE_BW == 0 && IMAGE_TYPE_16GRAY == 1 && IMAGE_TYPE_256GRAY == 2 && IMAGE_TYPE_8RGB == 3 &&
                   IMAGE_TYPE_16RGB == 4 && IMAGE_TYPE_256RGB == 5 && IMAGE_TYPE_16MRGB == 6 && IMAGE_STATUS_OK == 0 &&
                   IMAGE_STATUS_BAD_ARGUMENT == -1,
               "codes are part of the binary interface");

static unsigned lastProgress;

static uint32_t onProgress(uint32_t current, uint32_t total)
{
    lastProgress = current * 100 + total;
    return 0;
}

int main(void)
{
    uint8_t gray[2][3] = {{0, 17, 254}, {255, 34, 33}};
    uint8_t levels[2][2] = {{0xFF, 0xFF}, {0xFF, 0xFF}};
    const uint8_t expected[2][2] = {{0x01, 0xEF}, {0xF2, 0x1F}};
    ImageArea source = {.type = IMAGE_TYPE_256GRAY, .width = 3, .height = 2, .buffer = gray, .bytesPerLine = 3};
    ImageArea destination = {.type = IMAGE_TYPE_16GRAY, .width = 3, .height = 2, .buffer = levels, .bytesPerLine = 2};
    if (lxImageTypeConvertTo16Gray(&source, &destination, onProgress) != IMAGE_STATUS_OK ||
        memcmp(levels, expected, sizeof expected) != 0 || lastProgress != 2550) {
        fprintf(stderr, "unexpected levels or progress\n");
        return 1;
    }
    destination.type = IMAGE_TYPE_BW;
    if (lxImageTypeConvertTo16Gray(&source, &destination, NULL) != IMAGE_STATUS_BAD_ARGUMENT) {
        fprintf(stderr, "a wrong type is not refused\n");
        return 1;
    }
    return 0;
}
