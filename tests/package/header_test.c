/* The header on its own, in C11, and a call through the shared library. */

#include "lx.h"

#include <stdio.h>
#include <string.h>

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
