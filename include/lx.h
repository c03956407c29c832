/** @file lx.h
 *  Image processing for scanned documents.
 *
 * Plain records and plain functions over page images that the caller already holds in memory. The library reads no
 * files, keeps no settings, writes no log and holds no state between calls; it never allocates an image.
 *
 * Rules that hold for every function below, unless its own comment says otherwise:
 *
 *  - Argument order: method parameters, source area, destination area, progress callback.
 *  - Sizes: an operation with two areas works on the overlap, min(width) by min(height) pixels. Source pixel (i, j) of
 *    its area lands on destination pixel (i, j) of its area, line 0 being the top of the picture in both, whatever
 *    order the lines are stored in. A clipped height of 0 returns IMAGE_STATUS_OK at once. A clipped width of 0 writes
 *    nothing, but progress is reported. Only changes of size are different: see there.
 *  - Trust: `type` fields and method parameters are checked before anything is written. Addresses, rectangles,
 *    pitches and buffer sizes are trusted: an area must lie inside its buffer, and no address may be null but the
 *    callback's.
 *  - Ownership: only the pixels of the destination area are written. Bits and nibbles of neighbouring pixels that
 *    share a byte with the area keep their values, and no byte that holds no pixel of the area is read or written.
 *  - Overlap: source and destination must not share bytes.
 *  - Polarity: 1 is white and 0 is black in bilevel images; gray runs from 0 (black) to 255 (white).
 *  - Exactness: results are the same bytes on every processor, compiler and build of the library, unless a function
 *    draws random numbers.
 *  - Threads: every function may be called at any time on any thread, as long as no two calls write the same bytes of
 *    an image, the same ErrorBuffer or the same phases. Two neighbouring areas of a bilevel or 4-bit image may share a
 *    byte. Functions that draw random numbers say so: they use the C library's process-wide generator.
 *
 * The header is valid C11 and C++.
 */
#ifndef LX_H
#define LX_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32) && !defined(LX_STATIC)
#if defined(LX_BUILDING)
#define LX_API __declspec(dllexport)
#else
#define LX_API __declspec(dllimport)
#endif
#elif defined(__GNUC__) && !defined(LX_STATIC)
#define LX_API __attribute__((visibility("default")))
#else
#define LX_API
#endif

#ifdef __cplusplus
#define LX_NOEXCEPT noexcept
#define LX_STATIC_ASSERT(condition, text) static_assert(condition, text)
extern "C" {
#else
#define LX_NOEXCEPT
#define LX_STATIC_ASSERT(condition, text) _Static_assert(condition, text)
#endif

/* ---------------------------------------------------------------------------------------------------------------- */
/* Codes                                                                                                            */
/* ---------------------------------------------------------------------------------------------------------------- */

/** Pixel formats: the values of `ImageArea.type`. Packed pixels run from the most significant bit or nibble of a byte
 *  to the least. */
enum ImageType {
    IMAGE_TYPE_BW = 0,      /**< 1 bit: 1 white, 0 black; the leftmost pixel is the most significant bit. */
    IMAGE_TYPE_16GRAY = 1,  /**< 4 bits: gray level 0 (black) to 15 (white); level k stands for the 8-bit gray 17 k. */
    IMAGE_TYPE_256GRAY = 2, /**< 8 bits: gray level 0 (black) to 255 (white). */
    IMAGE_TYPE_8RGB = 3,    /**< 4 bits: bit 0 red, bit 1 green, bit 2 blue, each on or off; bit 3 has no colour. */
    IMAGE_TYPE_16RGB = 4,   /**< 4 bits: index into the fixed 16-colour palette. */
    IMAGE_TYPE_256RGB = 5,  /**< 8 bits: index into the fixed palette of a 6 x 6 x 6 cube (0 to 215), then white. */
    IMAGE_TYPE_16MRGB = 6   /**< 24 bits: three bytes, 0 to 255 each, in the area's `colorOrder`. */
};

/** Results of every operation. */
enum ImageStatus {
    IMAGE_STATUS_OK = 0,           /**< Done. */
    IMAGE_STATUS_BAD_ARGUMENT = -1 /**< A type or method parameter is not accepted; nothing has been written. */
};

/* ---------------------------------------------------------------------------------------------------------------- */
/* Records                                                                                                          */
/* ---------------------------------------------------------------------------------------------------------------- */

/** A rectangle inside an image buffer that the caller owns. The library reads the record and never changes it.
 *
 *  Line numbers are unsigned 32-bit and wrap; the byte offset is formed at the width of an address, so buffers above
 *  4 GiB work on 64-bit machines. */
typedef struct ImageArea {
    uint16_t type;         /**< Pixel format, an ImageType. */
    uint16_t colorOrder;   /**< Of 24-bit pixels: 0 stores red, green, blue; any other value blue, green, red. */
    uint16_t bottomUp;     /**< 0: buffer line 0 comes first in memory; any other value: it comes last. */
    uint32_t x;            /**< Left edge of the area, in pixels from the start of a buffer line. */
    uint32_t y;            /**< Top edge of the area, in lines from buffer line 0, the top of the picture. */
    uint32_t width;        /**< Width of the area, in pixels. */
    uint32_t height;       /**< Height of the area, in lines. */
    void* buffer;          /**< Lowest address of the whole image buffer. No alignment is needed. */
    uint32_t bytesPerLine; /**< Distance between the starts of two neighbouring buffer lines, in bytes. */
    uint32_t lines;        /**< Number of lines of the whole buffer; used only when `bottomUp` is set. */
} ImageArea;

/** The fixed palette of one pixel format, filled by lxGetColorPalette. */
typedef struct ColorPalette {
    uint16_t type;           /**< ImageType whose palette is wanted; set by the caller. */
    uint16_t count;          /**< Number of entries in use, 0 to 256. */
    uint8_t entries[256][3]; /**< Red, green and blue of every entry, whatever any `colorOrder` says. */
} ColorPalette;

/** A threshold as a fraction: `level` -`range` gives threshold 0, 0 gives 128, and +`range` gives 255. */
typedef struct ThresholdLevel {
    int32_t level; /**< Position on the scale -`range` to +`range`. */
    int32_t range; /**< Half the length of the scale; must not be 0. */
} ThresholdLevel;

/** The ranks of an ordered dither. Rank v becomes the threshold trunc(v * (256 / (columns * rows)) + 0.5), at most
 *  255; ranks 0 to columns * rows - 1 spread the thresholds evenly, and any other value is accepted. */
typedef struct DitherMatrix {
    uint16_t columns;        /**< Columns in use, 1 to 16. */
    uint16_t rows;           /**< Rows in use, 1 to 16. */
    uint16_t values[16][16]; /**< Ranks, row by row; a row always has 16 slots. */
} DitherMatrix;

/** The weights with which error diffusion passes a pixel's error on. They are factors, not numerators: weights that
 *  share the whole error sum to 1. */
typedef struct ErrorDiffusionKernel {
    double right;      /**< To the next pixel of the line. */
    double lowerLeft;  /**< To the previous pixel of the next line. */
    double below;      /**< To the same pixel of the next line. */
    double lowerRight; /**< To the next pixel of the next line. */
} ErrorDiffusionKernel;

/** The caller's ErrorBuffer: two rows of (width + 2) entries, `width` being the source area's width. An entry is one
 *  double, or three for the 8-colour converter. Row 0 carries the error for the next line and survives between calls
 *  (entry 1 + i belongs to pixel i; the first and last entry collect what falls off the line). Row 1 holds the line in
 *  work: source plus carried error, clamped to 0 to 255. */
typedef struct ErrorBufferDesc {
    double* buffer; /**< Start of the buffer, aligned for double. */
    uint32_t size;  /**< Its size in bytes, from lxCalculateErrorBufferSize; read by lxClearErrorBuffer only. */
} ErrorBufferDesc;

/** A setting as a fraction: `level` / `maxLevel`. */
typedef struct CorrectionLevel {
    int32_t level;    /**< Position on the scale -`maxLevel` to +`maxLevel`; 0 changes nothing. */
    int32_t maxLevel; /**< Half the length of the scale, above 0. Other values give what the formulas give. */
} CorrectionLevel;

/** A tone table: entry v is the new level of level v. */
typedef struct GammaTable {
    uint8_t entries[256]; /**< Levels 0 to 255, one for each level. */
} GammaTable;

/** Weights of red, green and blue in each component: entries 3 c, 3 c + 1 and 3 c + 2 give component c. */
typedef struct ColorCorrectionMatrix {
    double entries[9]; /**< Any values. */
} ColorCorrectionMatrix;

/** How to sharpen. */
typedef struct MTFParameters {
    uint16_t mode;          /**< 1: cross and diagonal; any other value: across and down, separately. */
    double coefficients[4]; /**< Gains, see lxMTFCorrection; any values. Mode 1 reads three. */
} MTFParameters;

/** Progress of an operation, called on the caller's own thread. After line j of H lines (counted from 0) the value is
 *  p = trunc(j / H * 50 + 0.5); the call (p, 50) is made only when p has grown since the last call, starting from 0.
 *  An operation on few lines therefore ends below 50, and one line makes no call.
 *
 *  @param current  Progress so far.
 *  @param total    The full scale, 50.
 *  @return         Ignored: an operation cannot be cancelled. */
typedef uint32_t (*ProgressCallback)(uint32_t current, uint32_t total);

/* ---------------------------------------------------------------------------------------------------------------- */
/* Sizes and the error buffer                                                                                       */
/* ---------------------------------------------------------------------------------------------------------------- */

/** Bytes of one line of `width` pixels, packed without padding.
 *
 *  @param type   ImageType.
 *  @param width  Pixels. A 24-bit line wraps at 2^32 bytes.
 *  @return       Bytes; 0 for a `type` above 6. */
LX_API uint32_t lxCalculateBytesOf1Line(uint16_t type, uint32_t width) LX_NOEXCEPT;

/** Bytes of `height` unpadded lines of `width` pixels.
 *
 *  The product wraps at 2^32 without a word. For a buffer that may reach 4 GiB, or one with padded lines, multiply the
 *  line's bytes by the lines in size_t instead: `(size_t)lxCalculateBytesOf1Line(type, width) * height`.
 *
 *  @param type    ImageType.
 *  @param width   Pixels.
 *  @param height  Lines.
 *  @return        Bytes modulo 2^32; 0 for a `type` above 6. */
LX_API uint32_t lxCalculateMemorySize(uint16_t type, uint32_t width, uint32_t height) LX_NOEXCEPT;

/** Bytes of the ErrorBuffer of an error diffusion.
 *
 *  @param type   Destination type of the conversion: IMAGE_TYPE_BW or IMAGE_TYPE_8RGB.
 *  @param width  Width of the source area (not the clipped width), in pixels.
 *  @return       Bytes modulo 2^32, a multiple of 16; 0 for any other `type`. */
LX_API uint32_t lxCalculateErrorBufferSize(uint16_t type, uint32_t width) LX_NOEXCEPT;

/** Clear an ErrorBuffer, before the first band of a page.
 *
 *  Zero doubles are written while fewer than `size` bytes are written, so a size that is not a multiple of 8 clears up
 *  to 7 bytes past it; sizes from lxCalculateErrorBufferSize are multiples of 16.
 *
 *  @param desc  The buffer; a size of 0 writes nothing. */
LX_API void lxClearErrorBuffer(const ErrorBufferDesc* desc) LX_NOEXCEPT;

/* ---------------------------------------------------------------------------------------------------------------- */
/* Palettes                                                                                                         */
/* ---------------------------------------------------------------------------------------------------------------- */

/** Fill in the fixed palette of a pixel format.
 *
 *  Counts are 2, 16, 256, 16, 16, 256 and 0 for types 0 to 6. Entries from `count` on keep their values. The 8-colour
 *  palette has 16 entries, 8 to 15 white; the cube's index is 36 blue + 6 green + red in levels 51 apart, 216 to 255
 *  white.
 *
 *  @param palette  `type` says which; `count` and the entries are written.
 *  @return         IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for a `type` above 6 (nothing written). */
LX_API int8_t lxGetColorPalette(ColorPalette* palette) LX_NOEXCEPT;

/* ---------------------------------------------------------------------------------------------------------------- */
/* Conversion to gray                                                                                               */
/* ---------------------------------------------------------------------------------------------------------------- */

/** 256 gray to 16 gray: level = floor(v / 17). The mapping truncates: only 255 reaches level 15.
 *
 *  @param source       IMAGE_TYPE_256GRAY.
 *  @param destination  IMAGE_TYPE_16GRAY.
 *  @param progress     May be null.
 *  @return             IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another type. */
LX_API int8_t lxImageTypeConvertTo16Gray(const ImageArea* source, const ImageArea* destination,
                                         ProgressCallback progress) LX_NOEXCEPT;

/** Full colour to 256 gray, by one component or by a weighted sum.
 *
 *  gray = trunc((R wR + B wB) + G wG), at most 255, the weights in single and the sum in double precision.
 *
 *  @param channel      1 red, 2 green, 3 blue; any other value weights 0.33, 0.34, 0.33.
 *  @param source       IMAGE_TYPE_16MRGB.
 *  @param destination  IMAGE_TYPE_256GRAY.
 *  @param progress     May be null.
 *  @return             IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another type. */
LX_API int8_t lxImageTypeConvertTo256Gray(uint16_t channel, const ImageArea* source, const ImageArea* destination,
                                          ProgressCallback progress) LX_NOEXCEPT;

/** Any type to 256 gray.
 *
 *  A palette index becomes trunc((R w + B w) + G w + 0.5), w being one third in single precision; an index at or above
 *  the palette's `count` becomes 0. Full colour does not use the palette: trunc((B 0.33 + G 0.34) + R 0.33) in double
 *  precision. The two rules differ on purpose: one rounds thirds, the other truncates a weighted sum.
 *
 *  @param palette      Palette of the source type; its `count` (at most 256) and entries are read.
 *  @param source       Any type. A `type` above 6 writes nothing and returns IMAGE_STATUS_OK.
 *  @param destination  IMAGE_TYPE_256GRAY.
 *  @param progress     May be null.
 *  @return             IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another destination type. */
LX_API int8_t lxImageTypeConvertToGrayscale(const ColorPalette* palette, const ImageArea* source,
                                            const ImageArea* destination, ProgressCallback progress) LX_NOEXCEPT;

/** Bilevel to 256 gray without a change of size, by counting white pixels in a window.
 *
 *  The window of N x N pixels starts at the pixel itself and reaches to the right and down; it is cut at the area's
 *  right and bottom edges, and a cut window is scaled to the same range. With c white pixels among `cols` x `rows`:
 *  s = c * (2N / (cols * rows)) in single precision, less 1 if it is at least 1; gray = trunc(255 / (2N - 1) * s + 0.5)
 *  in double precision. Every N above 15 takes the same time, and smaller ones take less.
 *
 *  @param windowSize   N, at least 1.
 *  @param source       IMAGE_TYPE_BW.
 *  @param destination  IMAGE_TYPE_256GRAY.
 *  @param progress     May be null.
 *  @return             IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another type or N = 0. */
LX_API int8_t lxImageTypeConvertToGrayscaleFromBW(uint16_t windowSize, const ImageArea* source,
                                                  const ImageArea* destination, ProgressCallback progress) LX_NOEXCEPT;

/* ---------------------------------------------------------------------------------------------------------------- */
/* Conversion to bilevel                                                                                            */
/* ---------------------------------------------------------------------------------------------------------------- */

/** 256 gray to bilevel by one threshold: white where the source is above T.
 *
 *  T = trunc(256 / (2 range) * (level + range) + 0.5); if its low 16 bits exceed 255, T is 255 (nothing is white).
 *  2 range and level + range are 32-bit sums that wrap; a T that no 64-bit integer holds saturates.
 *
 *  @param threshold    `range` must not be 0.
 *  @param source       IMAGE_TYPE_256GRAY.
 *  @param destination  IMAGE_TYPE_BW.
 *  @param progress     May be null.
 *  @return             IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another type or a `range` of 0. */
LX_API int8_t lxImageTypeConvertToBWNonHalftone(const ThresholdLevel* threshold, const ImageArea* source,
                                                const ImageArea* destination, ProgressCallback progress) LX_NOEXCEPT;

/** 256 gray to bilevel by ordered dither: white where the source is above the matrix's threshold.
 *
 *  The phases name the matrix column and row of the next pixel. The column phase is not reset at the start of a line:
 *  it runs on from the end of the line before. Both are written back, so that the next band continues the pattern;
 *  a page starts with 0, 0. A phase at or above its bound keeps counting until its 16 bits wrap to 0; positions
 *  outside the matrix have the threshold 128.
 *
 *  @param phaseX       In and out: matrix column of the next pixel.
 *  @param phaseY       In and out: matrix row of the next line.
 *  @param matrix       `columns` and `rows` from 1 to 16.
 *  @param source       IMAGE_TYPE_256GRAY.
 *  @param destination  IMAGE_TYPE_BW.
 *  @param progress     May be null.
 *  @return             IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another type or a matrix size out of range
 *                      (the phases are then untouched). */
LX_API int8_t lxImageTypeConvertToBWDitherHalftone(uint16_t* phaseX, uint16_t* phaseY, const DitherMatrix* matrix,
                                                   const ImageArea* source, const ImageArea* destination,
                                                   ProgressCallback progress) LX_NOEXCEPT;

/** 256 gray to bilevel by error diffusion, every line from left to right.
 *
 *  A pixel's value v is its source byte plus the carried error, clamped to 0 to 255, plus the error of its left
 *  neighbour, clamped again; from 128 on it is white and its error is v - 255, else it is black and its error is v.
 *  The weights of Floyd and Steinberg (1976) are 7/16, 3/16, 5/16, 1/16.
 *
 *  The generator is reseeded, srand(time(NULL)), by every call; random kernels take one rand() per pixel in raster
 *  order, so their result differs from call to call, and concurrent calls disturb each other's sequence.
 *
 *  @param randomKernel  0: kernels are taken in turn, starting with the first on every line; any other value: each
 *                       pixel takes kernel rand() mod `kernelCount`.
 *  @param kernelCount   Number of kernels, at least 1.
 *  @param kernels       The kernels.
 *  @param errorBuffer   ErrorBuffer for the source area's width, the same for all bands of a page, cleared before the
 *                       first one.
 *  @param source        IMAGE_TYPE_256GRAY.
 *  @param destination   IMAGE_TYPE_BW.
 *  @param progress      May be null.
 *  @return              IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another type or a `kernelCount` of 0. */
LX_API int8_t lxImageTypeConvertToBWEDHalftone(uint16_t randomKernel, uint16_t kernelCount,
                                               const ErrorDiffusionKernel* kernels, const ErrorBufferDesc* errorBuffer,
                                               const ImageArea* source, const ImageArea* destination,
                                               ProgressCallback progress) LX_NOEXCEPT;

/** Any type to bilevel by the fixed threshold 192: white where the luminance is at least 192.
 *
 *  Luminance is (B 0.33 + G 0.34) + R 0.33 of the palette's entry, or (R 0.33 + B 0.33) + G 0.34 of a full-colour
 *  pixel, single-precision weights summed in double precision.
 *
 *  @param palette      Palette of the source type. Its entries are read as they stand, whatever `count` says; not read
 *                      for full colour.
 *  @param source       Any type.
 *  @param destination  IMAGE_TYPE_BW.
 *  @param progress     May be null.
 *  @return             IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another destination type or a source type
 *                      above 6. */
LX_API int8_t lxImageTypeConvertToBW(const ColorPalette* palette, const ImageArea* source, const ImageArea* destination,
                                     ProgressCallback progress) LX_NOEXCEPT;

/* ---------------------------------------------------------------------------------------------------------------- */
/* Rotation                                                                                                         */
/* ---------------------------------------------------------------------------------------------------------------- */

/** Turn an area by quarter turns, clockwise as seen with line 0 at the top.
 *
 *  Pixels move, their values stay; full colour goes by component, so that areas of different `colorOrder` exchange the
 *  outer bytes of every pixel. Source pixel (j, i) lands on the destination's pixel
 *
 *    one turn      (destination width - 1 - i, j)
 *    two turns     (destination width - 1 - j, destination height - 1 - i)
 *    three turns   (i, destination height - 1 - j)
 *
 *  for the rows i and columns j that fit: min(source height, destination width) by min(source width, destination
 *  height), or for two turns the plain overlap. The picture is anchored to the destination's far edges: in a larger
 *  destination, a strip at the left (one turn), at the left and top (two turns) or at the top (three turns) keeps what
 *  it held.
 *
 *  Progress counts source rows; several rows may be reported together. If nothing fits, nothing is reported.
 *
 *  @param angle        Quarter turns clockwise: 1, 2 or 3.
 *  @param source       Any type.
 *  @param destination  The same type.
 *  @param progress     May be null.
 *  @return             IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for differing types, a type above 6 or another
 *                      angle. */
LX_API int8_t lxRotationBySimpleAngle(uint16_t angle, const ImageArea* source, const ImageArea* destination,
                                      ProgressCallback progress) LX_NOEXCEPT;

/** Turn an area by any angle about its centre, into an area with the same or another centre.
 *
 *  Every destination pixel (k, r) takes the value of the source pixel that lies under it, the nearest one by
 *  truncation, with no mixing of pixels:
 *
 *    dx = k - floor(destination width / 2), dy = floor(destination height / 2) - r
 *    column = trunc(cos * dx - sin * dy) + floor(source width / 2)
 *    line   = floor(source height / 2) - trunc(sin * dx + cos * dy)
 *
 *  Sine and cosine of angle * 0.017453292519444445 are rounded to single precision, the sums are double precision, and
 *  trunc goes toward zero. A destination pixel with no source pixel under it keeps what it held: fill the background
 *  first. Full colour moves by component.
 *
 *  A page that lxDetectionSlantAngle measures is straightened by turning it by the measured angle. Quarter turns that
 *  take every pixel over are those of lxRotationBySimpleAngle.
 *
 *  @param angle        Degrees clockwise as seen with line 0 at the top; any value. An angle that is not a finite
 *                      number writes nothing, which is no error.
 *  @param source       Any type.
 *  @param destination  The same type.
 *  @param progress     May be null; counts destination rows.
 *  @return             IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for differing types or a type above 6. */
LX_API int8_t lxRotationBySpecificationAngle(double angle, const ImageArea* source, const ImageArea* destination,
                                             ProgressCallback progress) LX_NOEXCEPT;

/* ---------------------------------------------------------------------------------------------------------------- */
/* Conversion to palette colours                                                                                    */
/* ---------------------------------------------------------------------------------------------------------------- */

/** Full colour to 8 colours by one threshold: a component is on where it is above T.
 *
 *  @param threshold    T, by the rule of lxImageTypeConvertToBWNonHalftone. `range` must not be 0.
 *  @param source       IMAGE_TYPE_16MRGB.
 *  @param destination  IMAGE_TYPE_8RGB.
 *  @param progress     May be null.
 *  @return             IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another type or a `range` of 0. */
LX_API int8_t lxImageTypeConvertTo8RGBNonHalftone(const ThresholdLevel* threshold, const ImageArea* source,
                                                  const ImageArea* destination, ProgressCallback progress) LX_NOEXCEPT;

/** Full colour to 8 colours by ordered dither: a component is on where it is above the matrix's threshold, which is the
 *  same for all three.
 *
 *  Matrix and phases work as in lxImageTypeConvertToBWDitherHalftone.
 *
 *  @param phaseX       In and out: matrix column of the next pixel.
 *  @param phaseY       In and out: matrix row of the next line.
 *  @param matrix       `columns` and `rows` from 1 to 16.
 *  @param source       IMAGE_TYPE_16MRGB.
 *  @param destination  IMAGE_TYPE_8RGB.
 *  @param progress     May be null.
 *  @return             IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another type or a matrix size out of range
 *                      (the phases are then untouched). */
LX_API int8_t lxImageTypeConvertTo8RGBDitherHalftone(uint16_t* phaseX, uint16_t* phaseY, const DitherMatrix* matrix,
                                                     const ImageArea* source, const ImageArea* destination,
                                                     ProgressCallback progress) LX_NOEXCEPT;

/** Full colour to 8 colours by error diffusion, each component for itself by the rule of
 *  lxImageTypeConvertToBWEDHalftone.
 *
 *  An entry of the ErrorBuffer is three doubles, in the order of the source pixel's bytes. Kernels taken in turn are
 *  the same for all three components; random ones take three rand() per pixel, in the order of its bytes.
 *
 *  The generator is reseeded, srand(time(NULL)), by every call; concurrent calls disturb each other's sequence.
 *
 *  @param randomKernel  0: kernels are taken in turn, starting with the first on every line; any other value: each
 *                       component of a pixel takes kernel rand() mod `kernelCount`.
 *  @param kernelCount   Number of kernels, at least 1.
 *  @param kernels       The kernels.
 *  @param errorBuffer   ErrorBuffer for the source area's width, cleared before the first band of a page.
 *  @param source        IMAGE_TYPE_16MRGB; all bands of a page in one colorOrder.
 *  @param destination   IMAGE_TYPE_8RGB.
 *  @param progress      May be null.
 *  @return              IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another type or a `kernelCount` of 0. */
LX_API int8_t lxImageTypeConvertTo8RGBEDHalftone(uint16_t randomKernel, uint16_t kernelCount,
                                                 const ErrorDiffusionKernel* kernels,
                                                 const ErrorBufferDesc* errorBuffer, const ImageArea* source,
                                                 const ImageArea* destination, ProgressCallback progress) LX_NOEXCEPT;

/** Full colour to 16 colours, by three levels of each component: floor(v / 86).
 *
 *  The 27 triples of levels stand for the colours of the palette, but dark blue, purple and half gray are never
 *  produced: half a level of blue is full blue, and (1, 1, 1) is the light gray. The lack of symmetry is deliberate.
 *
 *  @param source       IMAGE_TYPE_16MRGB.
 *  @param destination  IMAGE_TYPE_16RGB.
 *  @param progress     May be null.
 *  @return             IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another type. */
LX_API int8_t lxImageTypeConvertTo16RGB(const ImageArea* source, const ImageArea* destination,
                                        ProgressCallback progress) LX_NOEXCEPT;

/** Full colour to the 6 x 6 x 6 cube: index 36 b + 6 g + r, each level being floor(v / 43) and not the nearest.
 *
 *  @param source       IMAGE_TYPE_16MRGB.
 *  @param destination  IMAGE_TYPE_256RGB.
 *  @param progress     May be null.
 *  @return             IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another type. */
LX_API int8_t lxImageTypeConvertTo256RGB(const ImageArea* source, const ImageArea* destination,
                                         ProgressCallback progress) LX_NOEXCEPT;

/* ---------------------------------------------------------------------------------------------------------------- */
/* Conversion to full colour                                                                                        */
/* ---------------------------------------------------------------------------------------------------------------- */

/** Any type to full colour: every index becomes its palette entry, and full colour is copied.
 *
 *  A full-colour source keeps its bytes if the two `colorOrder` fields hold the same value, and exchanges the first
 *  and the last byte of every pixel if they differ, even if both values mean blue first.
 *
 *  @param palette      Palette of the source type: its first `count` entries (256 at most) are read; an index at or
 *                      above `count` becomes black. Not read for full colour.
 *  @param source       Any type.
 *  @param destination  IMAGE_TYPE_16MRGB.
 *  @param progress     May be null.
 *  @return             IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another destination type or a source type
 *                      above 6. */
LX_API int8_t lxImageTypeConvertTo16MRGB(const ColorPalette* palette, const ImageArea* source,
                                         const ImageArea* destination, ProgressCallback progress) LX_NOEXCEPT;

/** 8 colours to full colour without a change of size, by counting lit pixels in a window.
 *
 *  Each of red, green and blue takes the rule of lxImageTypeConvertToGrayscaleFromBW, its bit of the index being the
 *  pixel, but without the 0.5: levels are truncated, where those of bilevel images are rounded. The difference is
 *  deliberate. Every N above 15 takes the same time, and smaller ones take less.
 *
 *  @param windowSize   N, at least 1.
 *  @param source       IMAGE_TYPE_8RGB.
 *  @param destination  IMAGE_TYPE_16MRGB.
 *  @param progress     May be null.
 *  @return             IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another type or N = 0. */
LX_API int8_t lxImageTypeConvertTo16MRGBFrom8RGB(uint16_t windowSize, const ImageArea* source,
                                                 const ImageArea* destination, ProgressCallback progress) LX_NOEXCEPT;

/* ---------------------------------------------------------------------------------------------------------------- */
/* Change of size                                                                                                   */
/* ---------------------------------------------------------------------------------------------------------------- */

/** Any area to another size of the same type.
 *
 *  Blocks and runs of source pixels are shared out as follows. The two axes are independent; S and D are the sizes of
 *  the source and the destination area along one of them.
 *
 *   - S > D: blocks of q = S / D or q + 1 pixels, one for each destination pixel, the last one cut at S. With f the
 *     fraction of S / D, an accumulator in single precision starts at 0; where it has reached 1, the block has q + 1
 *     pixels and the accumulator loses 1; after each block it grows by f.
 *   - S <= D: runs of q = D / S or q + 1 destination pixels, one for each source pixel, by the same accumulator with f
 *     the fraction of D / S, cut at q S + trunc(f S + 0.5).
 *
 *  The blocks or runs may end a little short of the destination: its last pixels then keep their values. Full-colour
 *  components keep their stored order: `colorOrder` is not looked at.
 *
 *  | type, method       | 0    | 1         | 2         | 5         | any other |
 *  |--------------------|------|-----------|-----------|-----------|-----------|
 *  | BW                 | take | majority  | runs      | black     | majority  |
 *  | 256GRAY, 16MRGB    | take | mean      | between   | between   | between   |
 *  | 8RGB               | take | diffusion | diffusion | diffusion | diffusion |
 *  | the other types    | take | take      | take      | take      | take      |
 *
 *  - take: the top-left pixel of the block; runs repeat their pixel. What is skipped is not looked at.
 *  - majority: white where at least 128/255 of the block is white. Draws random numbers: in every 1 / f blocks the
 *    longer one falls at a random place, so that regular patterns do not beat. With both axes enlarged, columns that no
 *    run reaches become white on the lines that runs reach.
 *  - runs: black runs of the columns keep at least one pixel, however strong the reduction. On an axis that does not
 *    shrink, pixels are repeated.
 *  - black: black if any pixel of the block is; fractions and accumulators in double precision. Only where both sizes
 *    shrink.
 *  - mean: of the block, per component. Blocks of up to 4 x 4 pixels have the integer mean, truncated. Larger ones add
 *    up value / (h w) in double precision, line by line, and truncate. On an enlarged axis a run of L pixels ramps from
 *    its value v towards the next one's n: trunc(v + t d) for t = 0 to L - 1, d = (n - v) * (1 / L) in single, the rest
 *    in double precision; the last run is flat. Lines ramp in the same way between the first lines of their runs.
 *  - between: interpolation. Destination pixel (i, j) lies at (i rx, j ry), rx and ry being source size / destination
 *    size in single precision, among four neighbours, those beyond the last column or line being the last. Where the
 *    picture shrinks, each neighbour is the mean of kx by ky pixels around it, k = trunc(r + 0.5) but at most 2047:
 *    k / 2 to the left and top, as many to the right and bottom if k is odd, else one fewer; coordinates are clamped.
 *    The arithmetic is fixed-point: weights in 1 / 32768; down the columns first, rounded to 1 / 128; then along the
 *    line, rounded to nearest, halves upwards. Every destination pixel is reached.
 *  - diffusion: blocks as those of majority; for each colour bit 255 / (h w) times its count, plus half the error left
 *    by the block before on the line, clamped to 0 to 255, sets the bit from 128 on. Bit 3 is then clear. Where only
 *    one size shrinks, blocks are one pixel thick on the other axis and repeated over their run; where none does,
 *    pixels are repeated as they are. Draws random numbers.
 *
 *  Progress: where the height shrinks and for interpolation, by the rule of ProgressCallback with the destination's
 *  lines. Else in two passes: after each source line trunc(n / N * 45 + 0.5), n of the N destination lines in reach
 *  being covered, or, where the width shrinks, the call (n, 2 N) without any test; then after each run
 *  trunc(n / N * 5 + 0.5) + 45. Runs of bilevel areas whose width shrinks report their second pass as
 *  trunc(n / N * 25 + 0.5) + 25.
 *
 *  Random numbers: majority and diffusion call srand(time(NULL)) once per call. If an axis that shrinks does not divide
 *  evenly, they call rand() once per destination line, or once per source line where the height does not shrink.
 *
 *  @param method       As in the table.
 *  @param source       Any type.
 *  @param destination  Of the same type, and of the size wanted.
 *  @param progress     May be null.
 *  @return             IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for types that differ or are above 6, a width or
 *                      height of 0, or method 5 on a bilevel area of which a size does not shrink. */
LX_API int8_t lxResolutionConvert(uint16_t method, const ImageArea* source, const ImageArea* destination,
                                  ProgressCallback progress) LX_NOEXCEPT;

/** Bilevel to 256 gray with a change of size: a strongly reduced page keeps the density of its strokes as shades of
 *  gray.
 *
 *  Blocks and runs are those of lxResolutionConvert; destination pixels that they do not reach keep their values.
 *
 *  A block of h x w pixels becomes their mean. Where h and w are below 5, the sum of the levels is divided by h w and
 *  truncated; larger blocks add up the levels, each divided by h w in single precision, column by column in double
 *  precision, and round to nearest. Small blocks truncate and large ones round on purpose. On an enlarged axis blocks
 *  are one pixel thick, and the level of each is repeated over its run.
 *
 *  Selector 3 smooths the result: every level is weighted with its two neighbours along the line by 1 : 6 : 1 and
 *  rounded to nearest, then the same along the column, pixels at the border counting twice. White and black areas
 *  stay as they are, and the mean level of the page stays that of the blocks.
 *
 *  Progress: where the height shrinks, by the rule of ProgressCallback with the destination's lines; else
 *  trunc(n / N * 25 + 0.5) after each source line, n of the N destination lines in reach being covered, and then again
 *  from the first run on, 25 higher, as the runs are filled: a full pass ends at 50.
 *
 *  @param selector     3: smoothed; any other value: means of blocks.
 *  @param palette      Entries 0 and 1 are black's and white's colours; each stands for the rounded mean of its
 *                      components.
 *  @param source       IMAGE_TYPE_BW.
 *  @param destination  IMAGE_TYPE_256GRAY, of the size wanted.
 *  @param progress     May be null.
 *  @return             IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another type or a width or height of 0. */
LX_API int8_t lxResolutionAndImageTypeConvertToGrayscaleFromBW(uint32_t selector, const ColorPalette* palette,
                                                               const ImageArea* source, const ImageArea* destination,
                                                               ProgressCallback progress) LX_NOEXCEPT;

/* ---------------------------------------------------------------------------------------------------------------- */
/* Thumbnails                                                                                                       */
/* ---------------------------------------------------------------------------------------------------------------- */

/** Describe the buffers that a thumbnail needs. The caller then allocates `bytesPerLine` times `lines` bytes for the
 *  destination and each work area in use, and fills in the `buffer` fields.
 *
 *  W and H being the thumbnail's sizes, "above k" means wider than k W and higher than k H (products modulo 2^32):
 *
 *  | source             | size    | thumbnail         | work area 1             | work area 2              | result |
 *  |--------------------|---------|-------------------|-------------------------|--------------------------|--------|
 *  | BW                 | above 1 | 256GRAY           | 256GRAY, source's size  |                          | 1      |
 *  | 256GRAY or 16MRGB  | above 4 | source's          | source's, 6 W x 6 H     |                          | 1      |
 *  | 8RGB               | above 6 | 16MRGB            | 8RGB, 6 W x 6 H         | 16MRGB, 6 W x 6 H        | 3      |
 *  | 8RGB               | above 1 | 16MRGB            | 16MRGB, source's size   |                          | 1      |
 *  | otherwise          |         | source's          |                         |                          | 0      |
 *
 *  `colorOrder` and `bottomUp` are copied from the source everywhere. Work areas lie at (0, 0); one that is not needed
 *  has the source's `type` and 0 in all sizes. A source type above 6 is not refused: the thumbnail has that type and
 *  0 bytes per line.
 *
 *  @param source       The picture; its buffer is not read.
 *  @param destination  In: `x`, `y`, `width`, `height` of the thumbnail. Out: every other field but `buffer`; lines are
 *                      wide enough for `x` + `width` pixels, and there are `y` + `height` of them.
 *  @param work1        Out: every field but `buffer`.
 *  @param work2        Out: every field but `buffer`.
 *  @return             Not a status: bit 0 is set if work area 1 is to be allocated, bit 1 if work area 2 is. */
LX_API int8_t lxCalculateThumbnailMemorySize(const ImageArea* source, ImageArea* destination, ImageArea* work1,
                                             ImageArea* work2) LX_NOEXCEPT;

/** Make a thumbnail in the buffers that lxCalculateThumbnailMemorySize describes. (The name is spelt so for good.)
 *
 *  Bilevel areas above 1 (see there) become gray as by lxResolutionAndImageTypeConvertToGrayscaleFromBW with selector
 *  1; other ones go by majority. Gray and full colour above 6 are sampled to work area 1 and averaged from there, 8
 *  colours above 6 also converted to full colour in work area 2; below that, they are averaged directly, 8 colours
 *  above 1 by way of full colour in work area 1. Smaller 8-colour areas go by diffusion, 16 levels and palette colours
 *  by sampling. Work area 1 of a bilevel area, and that of gray and full colour between 4 and 6, is described but not
 *  used.
 *
 *  Only the last step reports progress. Majority and diffusion draw random numbers.
 *
 *  @param source       Any type.
 *  @param destination  The thumbnail.
 *  @param work1        Work area 1; its buffer is written if it is used.
 *  @param work2        Work area 2, likewise.
 *  @param progress     May be null.
 *  @return             IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for a source type above 6, or types or sizes that
 *                      a step does not accept; the steps before it have then been done. */
LX_API int8_t lxCreateThubmnailImage(const ImageArea* source, const ImageArea* destination, const ImageArea* work1,
                                     const ImageArea* work2, ProgressCallback progress) LX_NOEXCEPT;

/* ---------------------------------------------------------------------------------------------------------------- */
/* Slant                                                                                                            */
/* ---------------------------------------------------------------------------------------------------------------- */

/** Describe the three bilevel work areas of slant measurement. The caller then allocates `bytesPerLine` times `lines`
 *  bytes for each and fills in the `buffer` fields.
 *
 *  The longer side of `small` is 750 pixels and that of `medium` is 2000, however small the page is; the other side is
 *  trunc(750 / longer * shorter + 0.5), or 2000 likewise, in double precision. `full` has the page's size. All are
 *  IMAGE_TYPE_BW, top-down, at (0, 0), their lines packed without padding. A page more than 1500 times as long as it is
 *  wide gets a `small` area without pixels, and cannot be measured.
 *
 *  @param source  The page; only `width` and `height` are read.
 *  @param small   Out: every field but `buffer`.
 *  @param medium  Out: every field but `buffer`.
 *  @param full    Out: every field but `buffer`.
 *  @return        Not a status: always 7. */
LX_API int8_t lxCalculateMemorySizeForDetectionSlantAngle(const ImageArea* source, ImageArea* small, ImageArea* medium,
                                                          ImageArea* full) LX_NOEXCEPT;

/** Measure by how many degrees a scanned page lies askew.
 *
 *  Turning the page by the angle found, with lxRotationBySpecificationAngle, straightens it: an angle is positive where
 *  the page has to be turned clockwise, whichever of its sides shows it.
 *
 *  What is measured is the strongest band of long dark runs: a dark bar, such as the shadow of a page's edge or a
 *  scanner's lid, that runs along one side of the page, from side to side or from top to bottom. The two edges of the
 *  band, where it meets white, give the angle. An edge counts only if it is straight all along the band, so that the
 *  answer is either sound or 0:
 *
 *   - A bar with white on both of its sides is measured to 0.2 degrees on about 97 of 100 pages with or without text,
 *     and to 0.5 degrees on all but 1 (noise up to 0.5 %, 400 to 4000 pixels, up to 5.5 degrees either way).
 *   - Not measured, and answered with 0 for the most part: a bar above the text of the page (the first thing from the
 *     top is passed over unless nothing follows); dark areas that reach the edge of the image all along, because only
 *     runs that end in white count; a bar across the whole image that is tilted by less than half a degree, for the
 *     same reason; pages with text alone. Lines of text are not taken for edges.
 *   - Blank pages and straight pages stay within 0.1 degrees of 0.
 *
 *  The page is made bilevel into `full` (a bilevel page by lxMedianFiltering with strength 0, any other by
 *  lxImageTypeConvertToBW), sampled into `medium`, reduced by black priority into `small`, and smoothed there. All
 *  three areas are overwritten; `full` is complete, and may be put to use. The measurement itself takes two small
 *  arrays from malloc and frees them; without memory, or with a bottom-up `small` area, the angle is 0.
 *
 *  @param angle     Out: degrees, above -6 and below 6; 0 if no slant was found, and on failure.
 *  @param source    The page, of any type.
 *  @param palette   Palette of the page's type; not read for bilevel and full-colour pages.
 *  @param small     Work area, as lxCalculateMemorySizeForDetectionSlantAngle describes it.
 *  @param medium    Work area, likewise: wider and higher than `small`.
 *  @param full      Work area, likewise: of the page's size.
 *  @param progress  Called during the reduction into `small` only, which has the lines of `small`. May be null.
 *  @return          IMAGE_STATUS_OK, also where no slant is found; IMAGE_STATUS_BAD_ARGUMENT for a source type above 6
 *                   or a work area of another type, or without pixels, or if `small` is not smaller than `medium`. */
LX_API int8_t lxDetectionSlantAngle(double* angle, const ImageArea* source, const ColorPalette* palette,
                                    ImageArea* small, ImageArea* medium, ImageArea* full,
                                    ProgressCallback progress) LX_NOEXCEPT;

/** The same measurement, which also tells what it was made on.
 *
 *  All results but the angle are positions in `small`, and may be null. Values that were not found are 0. The analysis
 *  of a band from top to bottom is that of one from left to right with columns and rows exchanged. Nothing is stored
 *  when no measurement was made: on failure, without memory, or with a bottom-up `small` area.
 *
 *  @param angle             Out: degrees, as by lxDetectionSlantAngle.
 *  @param source            The page, of any type.
 *  @param palette           Palette of the page's type; not read for bilevel and full-colour pages.
 *  @param small             Work area, as for lxDetectionSlantAngle.
 *  @param medium            Work area, likewise.
 *  @param full              Work area, likewise.
 *  @param bandFirstColumn   Left edge of the band that was found.
 *  @param bandLastColumn    Right edge, inclusive; sometimes one beyond, where a band is in pieces.
 *  @param bandFirstRow      Top edge.
 *  @param bandLastRow       Bottom edge, inclusive; sometimes one beyond, likewise.
 *  @param edgeStartAColumn  Start of the upper or left edge, on its left or upper end.
 *  @param edgeStartARow     Its row.
 *  @param edgeStartBColumn  Start of the lower or right edge.
 *  @param edgeStartBRow     Its row.
 *  @param edgeEndAColumn    End of the upper or left edge.
 *  @param edgeEndARow       Its row.
 *  @param edgeEndBColumn    End of the lower or right edge.
 *  @param edgeEndBRow       Its row.
 *  @param progress          Called as by lxDetectionSlantAngle. May be null.
 *  @return                  As of lxDetectionSlantAngle. */
LX_API int8_t lxDetectionSlantAngleForDebug(double* angle, const ImageArea* source, const ColorPalette* palette,
                                            ImageArea* small, ImageArea* medium, ImageArea* full,
                                            uint32_t* bandFirstColumn, uint32_t* bandLastColumn, uint32_t* bandFirstRow,
                                            uint32_t* bandLastRow, uint32_t* edgeStartAColumn, uint32_t* edgeStartARow,
                                            uint32_t* edgeStartBColumn, uint32_t* edgeStartBRow,
                                            uint32_t* edgeEndAColumn, uint32_t* edgeEndARow, uint32_t* edgeEndBColumn,
                                            uint32_t* edgeEndBRow, ProgressCallback progress) LX_NOEXCEPT;

/* ---------------------------------------------------------------------------------------------------------------- */
/* Tone                                                                                                             */
/* ---------------------------------------------------------------------------------------------------------------- */

/** Build a tone table.
 *
 *  Starting from entry i = i, the stages run in the order below, each on the table that the one before left. f is the
 *  setting's fraction and t = trunc(128 / maxLevel * level + 0.5); saturate(v) is trunc(v + 0.5), 255 above 255 and
 *  0 below 0 or if v is not a number. All in double precision, with the C library's tan and pow.
 *
 *  - Brightness: e becomes saturate(e + 128 / maxLevel * level).
 *  - Contrast: e becomes saturate((e - 127.5) * tan((f + 1) * 3.1415926535 / 4) + 127.5).
 *  - Gamma: e becomes saturate(255 * (e / 255)^g), formed as pow(e, g) / pow(255, g - 1), g being 1 + 9 f if `level` is
 *    0 or more, else 1 - 0.9 f: both signs darken.
 *  - Highlight, if `level` is at least 1: with H = 255 - t, entries from H on become 255, and those from H - 32 to
 *    H - 1 become saturate(e + (255 - e') * (i - H - 32) / 32), e' being entry i + H of the stage's input. The ramp
 *    falls below its neighbours for high levels: on purpose.
 *  - Shadow, if `level` is at least 1: with S = t, entries up to S become 0, and those from S + 1 to S + 32 become
 *    saturate(e - e' * (S + 32 - i) / 32), e' being entry i + S of the stage's input.
 *  - Reversal, if the value is at least 1: e becomes 255 - e.
 *
 *  An index of e' above 255 reads entry 255, one below 0 entry 0. H and S are kept in 16 bits, which wrap.
 *
 *  @param brightness  Brightness.
 *  @param contrast    Contrast; -1 is flat.
 *  @param gamma       Gamma.
 *  @param highlight   Highlight.
 *  @param shadow      Shadow.
 *  @param reverse     Reversal: at least 1 for a negative.
 *  @param table       The table to fill.
 *  @return            IMAGE_STATUS_OK. */
LX_API int8_t lxCreateGammaCorrectionTable(const CorrectionLevel* brightness, const CorrectionLevel* contrast,
                                           const CorrectionLevel* gamma, const CorrectionLevel* highlight,
                                           const CorrectionLevel* shadow, const int32_t* reverse,
                                           GammaTable* table) LX_NOEXCEPT;

/** Apply a tone table in place.
 *
 *  Gray levels and every component of full colour become the table's entry. A bilevel pixel stands for level 0 or 255,
 *  and becomes white where its entry is at least 128.
 *
 *  @param table     The table.
 *  @param area      IMAGE_TYPE_BW, IMAGE_TYPE_256GRAY or IMAGE_TYPE_16MRGB.
 *  @param progress  May be null.
 *  @return          IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another type. */
LX_API int8_t lxGammaCorrection(const GammaTable* table, const ImageArea* area, ProgressCallback progress) LX_NOEXCEPT;

/* ---------------------------------------------------------------------------------------------------------------- */
/* Colour and sharpness                                                                                             */
/* ---------------------------------------------------------------------------------------------------------------- */

/** Build a matrix that turns the hue, and scales the saturation and the lightness of colours.
 *
 *  With the turn a in degrees, 360 - 180 f for a hue `level` above 0 and else -180 f, f being its fraction, and the
 *  gains S and L, each 1 + its fraction: A = S cos a, B = sqrt(3) S sin a, and the rows are (d0, d1, d2), (d2, d0, d1)
 *  and (d1, d2, d0) with d0 = (2 A + L) / 3, d1 = (L - A + B) / 3 and d2 = (L - A - B) / 3. All in double precision,
 *  with the C library's sin and cos, and 3.1415926535 for pi. Settings of 0 give the identity.
 *
 *  @param hue         Turn; its fraction stands for half a turn.
 *  @param saturation  -1 takes all colour out, +1 doubles it.
 *  @param lightness   -1 is black, +1 twice as light.
 *  @param matrix      The matrix to fill.
 *  @return            IMAGE_STATUS_OK. */
LX_API int8_t lxCreateColorCorrectionMatrix(const CorrectionLevel* hue, const CorrectionLevel* saturation,
                                            const CorrectionLevel* lightness,
                                            ColorCorrectionMatrix* matrix) LX_NOEXCEPT;

/** Apply a matrix to full-colour pixels in place.
 *
 *  The entries are rounded to single precision. Each component becomes (m0 R + m1 G) + m2 B, summed in double
 *  precision, rounded to single precision and truncated: 255 from 255 on, 0 from 0 down and if it is not a number. It
 *  truncates where tone tables round: on purpose.
 *
 *  @param matrix    The matrix; any values.
 *  @param area      IMAGE_TYPE_16MRGB.
 *  @param progress  May be null.
 *  @return          IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another type. */
LX_API int8_t lxColorCorrection(const ColorCorrectionMatrix* matrix, const ImageArea* area,
                                ProgressCallback progress) LX_NOEXCEPT;

/** Sharpen edges, each component for itself.
 *
 *  With C a level, L and R, U and D its neighbours, and those at the edges of the overlap standing for the ones beyond:
 *
 *  - Separately: h = 2 C - (L + R), v = 2 C - (U + D), and the result is (C + h kh) + v kv. The gains k are the
 *    coefficients times 0.125: kh the first if h is at least 0 and else the third, kv the second or the fourth.
 *  - Mode 1: s is the sum of the four direct neighbours less 4 C, d is 4 C less the sum of the four diagonal ones, and
 *    the result is (C + s k1) + d kd. The gains are the coefficients times 0.0625: k1 the first, kd the second if d is
 *    at least 0 and else the third. A positive first one smooths.
 *
 *  Gains are rounded to single precision, the sum is formed in double precision, rounded to single precision and
 *  truncated: 255 from 255 on, 0 from 0 down and if it is not a number.
 *
 *  @param parameters   Mode and coefficients.
 *  @param source       IMAGE_TYPE_256GRAY or IMAGE_TYPE_16MRGB.
 *  @param destination  The same type.
 *  @param progress     May be null.
 *  @return             IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another type. */
LX_API int8_t lxMTFCorrection(const MTFParameters* parameters, const ImageArea* source, const ImageArea* destination,
                              ProgressCallback progress) LX_NOEXCEPT;

/* ---------------------------------------------------------------------------------------------------------------- */
/* Noise                                                                                                            */
/* ---------------------------------------------------------------------------------------------------------------- */

/** Noise removal by a 3 x 3 rank filter. Edge pixels stand for the neighbours that the work rectangle does not have.
 *
 *  Gray levels, and each component of full colour, become the sixth smallest of the nine: one rank above the median,
 *  a deliberate lean towards white. Bilevel pixels, and each of the three colour bits of 8 colours, become the
 *  majority: set if five or more of the nine are set. The fourth bit of an 8-colour pixel is copied.
 *
 *  In place: source and destination may be the same pixels. While a line is filtered, the lines above it already hold
 *  their new values; the whole line itself and the lines below it are still as they were. Each further pass filters
 *  what the one before has left. With two distinct areas, further passes give what the first one gave.
 *
 *  Areas of different `colorOrder` are mapped component to component.
 *
 *  Progress has a rule of its own: a single-precision total grows by 100 / (passes * H) after every line of every pass,
 *  and (trunc(total + 0.5), 50) is reported when its first value has changed. It climbs to 100, out of 50: on purpose.
 *
 *  @param strength     Only the low byte counts. 0 and 3: one pass; 1: three passes; 2: two passes; s from 4 on: one
 *                      pass, in which only the pixels with i + 1 and j + 1 both multiples of s - 2 are filtered, and
 *                      all others are copied.
 *  @param source       IMAGE_TYPE_BW, IMAGE_TYPE_256GRAY, IMAGE_TYPE_8RGB or IMAGE_TYPE_16MRGB.
 *  @param destination  The same type.
 *  @param progress     May be null.
 *  @return             IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another type. */
LX_API int8_t lxMedianFiltering(uint32_t strength, const ImageArea* source, const ImageArea* destination,
                                ProgressCallback progress) LX_NOEXCEPT;

/* ---------------------------------------------------------------------------------------------------------------- */
/* Compositing and masking                                                                                          */
/* ---------------------------------------------------------------------------------------------------------------- */

/** Paste an image into an area of another, converting it to the destination's type.
 *
 *  A full-colour source gives its pixels' colours. Any other source gives palette entries, and is read as the palette's
 *  `count` says, whatever its type: 1 bit a pixel for a `count` up to 2, 4 bits up to 16, 8 bits above. Entries are
 *  read as they stand, those at or above `count` too.
 *
 *  - To IMAGE_TYPE_BW: white where gray = trunc((B + R) 0.33 + G 0.34 + 0.5) is above a fixed 8 x 8 table of thresholds
 *    from 0 to 252, counted from the area's corner. In 4-bit and 8-bit palette sources, an entry with R = G = the blue
 *    of entry 0, and 0 or 255, is black or white without dither.
 *  - To IMAGE_TYPE_256GRAY: trunc(R w + B w + G w + 0.5), w being one third in single precision, at most 255; with a
 *    key the gray of the rule above. The two rules differ on purpose.
 *  - To IMAGE_TYPE_8RGB: a component is on from 128.
 *  - To IMAGE_TYPE_16MRGB: the colour itself.
 *
 *  With a key, source pixels of the key's colour leave the destination as it is. The key's range per level k is
 *  k - t to k + t, t being the tolerance; a side that would reach the end of the scale or beyond is k itself, so that a
 *  key of 5 with a tolerance of 10 means 5 to 15. Full-colour pixels are transparent with all components in range, and
 *  pixels of an 8-bit source of IMAGE_TYPE_256GRAY if their level is in the range of the key's gray,
 *  trunc((B + R) 0.33 + G 0.34 + 0.5). Other palette sources are transparent where the entry equals the key exactly.
 *
 *  @param useKey       0: every pixel is pasted; any other value: with the key.
 *  @param source       Any image; its type tells full colour from the rest, and gray levels from indices.
 *  @param palette      Palette of the source; not read for full colour.
 *  @param keyColor     Red, green and blue; read only if `useKey` is not 0.
 *  @param tolerance    Its low 8 bits count; read only if `useKey` is not 0.
 *  @param destination  IMAGE_TYPE_BW, IMAGE_TYPE_256GRAY, IMAGE_TYPE_8RGB or IMAGE_TYPE_16MRGB.
 *  @param progress     May be null.
 *  @return             IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another destination type. */
LX_API int8_t lxSynthesizeToSpecificationArea(uint16_t useKey, const ImageArea* source, const ColorPalette* palette,
                                              const uint8_t* keyColor, uint32_t tolerance, const ImageArea* destination,
                                              ProgressCallback progress) LX_NOEXCEPT;

/** Cover an area with a colour in place: paint it, or tint it so that what is darker than the colour stays.
 *
 *  - IMAGE_TYPE_BW: the colour's gray, trunc((B + R) 0.33 + G 0.34 + 0.5), is dithered by the table of
 *    lxSynthesizeToSpecificationArea; a tint only clears pixels.
 *  - IMAGE_TYPE_256GRAY: painted with that gray g; a tint makes a level p above g trunc((p - g) / 4 + g).
 *  - IMAGE_TYPE_8RGB: painted with the components that are on from 128; a tint switches the others off, and bit 3.
 *  - IMAGE_TYPE_16MRGB: painted with the colour; a tint takes the rule of gray for every component.
 *
 *  @param tint      0: paint; any other value: tint.
 *  @param color     Red, green and blue.
 *  @param area      One of the four types above.
 *  @param progress  May be null.
 *  @return          IMAGE_STATUS_OK, or IMAGE_STATUS_BAD_ARGUMENT for another type. */
LX_API int8_t lxMaskingBySpecificationColor(uint16_t tint, const uint8_t* color, const ImageArea* area,
                                            ProgressCallback progress) LX_NOEXCEPT;

/* ---------------------------------------------------------------------------------------------------------------- */
/* Layout of the records: part of the binary interface                                                              */
/* ---------------------------------------------------------------------------------------------------------------- */

LX_STATIC_ASSERT(offsetof(ImageArea, colorOrder) == 2 && offsetof(ImageArea, bottomUp) == 4 &&
                     offsetof(ImageArea, x) == 8 && offsetof(ImageArea, y) == 12 && offsetof(ImageArea, width) == 16 &&
                     offsetof(ImageArea, height) == 20 && offsetof(ImageArea, buffer) == 24 &&
                     offsetof(ImageArea, bytesPerLine) == 24 + sizeof(void*) &&
                     offsetof(ImageArea, lines) == 28 + sizeof(void*) && sizeof(ImageArea) == 32 + sizeof(void*),
                 "ImageArea has fixed offsets: 40 bytes on a 64-bit machine");
LX_STATIC_ASSERT(offsetof(ColorPalette, count) == 2 && offsetof(ColorPalette, entries) == 4 &&
                     sizeof(ColorPalette) == 772,
                 "ColorPalette has fixed offsets");
LX_STATIC_ASSERT(offsetof(ThresholdLevel, range) == 4 && sizeof(ThresholdLevel) == 8,
                 "ThresholdLevel has fixed offsets");
LX_STATIC_ASSERT(offsetof(DitherMatrix, rows) == 2 && offsetof(DitherMatrix, values) == 4 &&
                     sizeof(DitherMatrix) == 4 + 512,
                 "DitherMatrix has fixed offsets");
LX_STATIC_ASSERT(offsetof(ErrorDiffusionKernel, lowerLeft) == 8 && offsetof(ErrorDiffusionKernel, below) == 16 &&
                     offsetof(ErrorDiffusionKernel, lowerRight) == 24 && sizeof(ErrorDiffusionKernel) == 32,
                 "ErrorDiffusionKernel is four doubles");
LX_STATIC_ASSERT(offsetof(ErrorBufferDesc, size) == sizeof(void*) && sizeof(ErrorBufferDesc) == 2 * sizeof(void*),
                 "ErrorBufferDesc is an address and a size");
LX_STATIC_ASSERT(offsetof(CorrectionLevel, maxLevel) == 4 && sizeof(CorrectionLevel) == 8,
                 "CorrectionLevel has fixed offsets");
LX_STATIC_ASSERT(sizeof(GammaTable) == 256, "GammaTable is 256 bytes");
LX_STATIC_ASSERT(sizeof(ColorCorrectionMatrix) == 72, "ColorCorrectionMatrix is nine doubles");
LX_STATIC_ASSERT(offsetof(MTFParameters, coefficients) == 8 && sizeof(MTFParameters) == 40,
                 "MTFParameters has fixed offsets");

#ifdef __cplusplus
}
#endif

#endif /* LX_H */
