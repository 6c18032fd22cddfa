/// @file im.h
/// The imaging toolkit: the image record, image files of many formats, and the memory files that
/// stand in for them.
///
/// Every call may run on several threads at once, each on files and images of its own. The only
/// state that outlives a call is the current binary file module, and that is kept per thread.
/// Nothing is printed, no exception leaves a call, and damaged files end in an error code.
#ifndef IM_H
#define IM_H

#include <stddef.h>

/// Marks what the shared library exports; everything else in it is hidden.
#if defined(__GNUC__)
#define IM_API __attribute__((visibility("default")))
#else
#define IM_API
#endif

/// Sample types: imImage::data_type.
enum imDataType {
    IM_BYTE = 0,    ///< unsigned 8 bits
    IM_SHORT = 1,   ///< signed 16 bits
    IM_USHORT = 2,  ///< unsigned 16 bits
    IM_INT = 3,     ///< signed 32 bits
    IM_FLOAT = 4,   ///< 32-bit floating point
    IM_DOUBLE = 5,  ///< 64-bit floating point
    IM_CFLOAT = 6,  ///< complex, two floats
    IM_CDOUBLE = 7  ///< complex, two doubles
};

/// Colour spaces: imImage::color_space, and the low byte of a colour mode.
enum imColorSpace {
    IM_RGB = 0,     ///< three planes: red, green, blue
    IM_MAP = 1,     ///< one plane of indexes into the palette
    IM_GRAY = 2,    ///< one plane
    IM_BINARY = 3,  ///< one plane of 0 (black) and 1 (white)
    IM_CMYK = 4     ///< four planes of inverted inks: the highest sample is no ink
};

/// Flags of a colour mode, above its colour space: how a file stores its pixels. An imImage never
/// carries them: its planes are apart, without alpha, bottom row first.
enum imColorModeFlag {
    IM_ALPHA = 0x100,   ///< a plane of opacity goes with the colours
    IM_PACKED = 0x200,  ///< the samples of a pixel lie side by side
    IM_TOPDOWN = 0x400  ///< the top row comes first
};

/// What file calls report.
enum imErrorCode {
    IM_ERR_NONE = 0,
    IM_ERR_OPEN = 1,      ///< the file or the memory block cannot be opened or made
    IM_ERR_ACCESS = 2,    ///< reading or writing failed: the data end early or are damaged
    IM_ERR_FORMAT = 3,    ///< no known format, or one that cannot be read or written
    IM_ERR_DATA = 4,      ///< an image kind that the format does not have
    IM_ERR_COMPRESS = 5,  ///< an unknown or unsupported compression
    IM_ERR_MEM = 6        ///< the image is too large
};

/// One entry of a palette.
struct imPaletteColor {
    unsigned char red;    ///< 0 to 255
    unsigned char green;  ///< 0 to 255
    unsigned char blue;   ///< 0 to 255
};

/// One image. imImageCreate makes it, imImageDestroy takes it back; samples may be read and
/// written at will, the other fields are not for changing.
struct imImage {
    int width;        ///< pixels per row
    int height;       ///< rows
    int color_space;  ///< imColorSpace
    int data_type;    ///< imDataType
    int depth;        ///< number of planes
    int line_size;    ///< bytes from one row of a plane to the next, without padding
    void** data;      ///< `depth` plane pointers; each plane has its bottom row first. The planes
                      ///< lie one behind the other, so data[0] reaches all of them

    imPaletteColor* palette;  ///< 256 entries with IM_MAP, black beyond palette_count; else null
    int palette_count;        ///< entries that count, 1 to 256 with IM_MAP; else 0
};

/// Makes an image with all samples 0. Null when a size is below 1, a code is unknown, or the image
/// would take more than 2^31 - 1 bytes or more memory than there is. IM_MAP and IM_BINARY take
/// IM_BYTE alone. A new IM_MAP image has a palette of 256 greys.
IM_API imImage* imImageCreate(int width, int height, int color_space, int data_type);

/// Gives an image back. Null is let through.
IM_API void imImageDestroy(imImage* image);

/// Bytes of an image of `color_mode` (its flag IM_ALPHA counts one more plane); 0 for a size below
/// 1, an unknown code, or more than 2^31 - 1.
IM_API int imImageDataSize(int width, int height, int color_mode, int data_type);

/// "RGB", "MAP", "GRAY", "BINARY" or "CMYK"; null for an unknown one.
IM_API const char* imColorModeSpaceName(int color_mode);

/// "byte", "short", "ushort", "int", "float", "double", "cfloat" or "cdouble"; null for an unknown
/// one.
IM_API const char* imDataTypeName(int data_type);

/// Bytes of one sample; 0 for an unknown type.
IM_API int imDataTypeSize(int data_type);

/// Converts `src` into `dst`, an image of the same size that the caller has made in the wanted
/// colour space. Sample types are the same on both sides (IM_BYTE or IM_USHORT), except that
/// IM_MAP and IM_BINARY are always bytes and go to and from both.
///
/// - to IM_GRAY: (0.299 R + 0.587 G) + 0.114 B in double precision, truncated
/// - to IM_BINARY: 1 where the grey is in the upper half of its range (from 128 on for bytes)
/// - from IM_CMYK: each of R, G, B is its inverted ink times inverted black, over the highest
///   sample, rounded
/// - to IM_MAP: as it is with at most 256 colours; otherwise quantised by median cut
/// - the same space on both sides: a copy
///
/// @return IM_ERR_NONE; IM_ERR_DATA when sizes or types do not fit or one is null; IM_ERR_MEM
IM_API int imConvertColorSpace(const imImage* src, imImage* dst);

/// An image file that is open for reading or for writing.
struct imFile;

/// Opens an image file. The format is found by the content, never by the name.
/// @param file_name a path; with the memory module current, an `imBinMemoryFileName*`
/// @param error     imErrorCode; may be null
/// @return null on any error
IM_API imFile* imFileOpen(const char* file_name, int* error);

/// Makes an image file of the named format, such as "TIFF"; letters of either case. Arguments and
/// result as imFileOpen. A file of that name is replaced on closing, if all images could be saved;
/// until then, and when one could not, it stays as it was.
IM_API imFile* imFileNew(const char* file_name, const char* format, int* error);

/// Puts a file that was made for writing under its name. imFileClose does it as well, but cannot
/// tell that it failed. Nothing may be saved after this.
/// @return IM_ERR_NONE, also for a file that was opened for reading; IM_ERR_ACCESS when no image
///         was saved, one was saved in part, the file was abandoned, or the bytes could not be
///         written
IM_API int imFileFinish(imFile* file);

/// Gives a file up that was made for writing: closing it leaves nothing, and what stood under its
/// name before stays. Null and files opened for reading are let through.
IM_API void imFileAbandon(imFile* file);

/// Closes a file and gives it back. Null is let through.
IM_API void imFileClose(imFile* file);

/// Tells format, compression and number of images; each output may be null. `format` takes at most
/// 12 bytes, `compression` at most 20, with their terminators. The compression is that of the first
/// image, or of the image read last. After the decoding of a JPEG it is instead its quality, "1" to
/// "100", estimated from the quantisation of luminance on the scale of "JPEGQuality".
IM_API void imFileGetInfo(imFile* file, char* format, char* compression, int* image_count);

/// Whether a file that was opened tells of an image behind its last one that is not there, as a
/// TIFF file does that was cut off between two. The image count is that of those that are there.
/// @return 1 or 0
IM_API int imFileIsCutOff(imFile* file);

/// Chooses the compression of the images that are saved from now on. Letters of either case; null
/// chooses the format's usual one.
/// @return IM_ERR_NONE, or IM_ERR_COMPRESS for one that the format doesn't have: nothing changes
IM_API int imFileSetInfo(imFile* file, const char* compression);

/// Tells size and kind of one image without decoding it, and makes its attributes the file's.
/// `color_mode` carries flags. Each output may be null; on an error they stay as they are.
IM_API int imFileReadImageInfo(imFile* file, int index, int* width, int* height, int* color_mode,
                               int* data_type);

/// Decodes one image (0-based), and makes its attributes the file's. Planes are apart, without
/// alpha. Pages of 1 bit are IM_BINARY (IM_MAP where their two colours are not black and white),
/// samples of 16 bits IM_USHORT, other depths below 8 widened to bytes. The rows of a top-down BMP
/// come in the order of the file, so that such an image stands on its head; imFileReadImageInfo
/// tells them by IM_TOPDOWN.
/// @param error imErrorCode; may be null
/// @return a new image for imImageDestroy; null on any error
IM_API imImage* imFileLoadImage(imFile* file, int index, int* error);

/// Appends an image to a file that is open for writing. When it returns, the bytes of a whole file
/// are written. Kinds that the format does not have are converted where that keeps the picture
/// (IM_BINARY to grey, IM_MAP to RGB, RGB to 256 colours). Formats of one image refuse a second.
/// @return imErrorCode; after IM_ERR_ACCESS or IM_ERR_MEM the file may take no more images
IM_API int imFileSaveImage(imFile* file, const imImage* image);

/// Number of attributes, and their names in the file's order.
/// @param names null, or room for `*count` pointers; the names live until another image is read, an
///              attribute taken away or the file closed
/// @param count in: room in `names`, when that is not null and this is above 0; out: the attributes
IM_API void imFileGetAttributeList(imFile* file, char** names, int* count);

/// The data of an attribute, or null when there is none of that name. Lives until the attribute is
/// set again, another image is read or the file closed. Text has type IM_BYTE and a terminator
/// that counts. Outputs may be null.
///
/// Resolution goes by "XResolution" and "YResolution" (one IM_FLOAT each) with "ResolutionUnit"
/// (text, "DPI" or "DPC"); BMP, JPEG, PCX, PNG and TIFF carry it.
IM_API const void* imFileGetAttribute(imFile* file, const char* name, int* data_type, int* count);

/// Sets an attribute for the images that are saved from now on; null data takes it away. Formats
/// leave out what they cannot carry. "JPEGQuality" (one IM_INT, 1 to 100, 75 where unset) rules how
/// JPEG is written.
IM_API void imFileSetAttribute(imFile* file, const char* name, int data_type, int count,
                               const void* data);

/// Bytes written so far to a file made by imFileNew: after imFileSaveImage, those of the whole
/// file.
IM_API int imFileGetWriteImageDataLen(imFile* file);

/// About a format by name. `description` takes at most 64 bytes; `extensions` at most 32, such as
/// "*.tif;*.tiff"; `multiple` is 1 where a file may hold several images. Each output may be null.
/// @return IM_ERR_NONE, or IM_ERR_FORMAT for an unknown name, with the outputs as they were
IM_API int imFormatInfo(const char* format, char* description, char* extensions, int* multiple);

/// Names of all formats; the texts are constants.
/// @param names null, or room for `*count` pointers
/// @param count in: room in `names`, when that is not null; out: the number of formats
IM_API void imFormatList(const char** names, int* count);

/// Names of a format's compressions, the usual one first; the texts are constants. Arguments as
/// imFormatList.
/// @return IM_ERR_NONE, or IM_ERR_FORMAT for an unknown name, with the outputs as they were
IM_API int imFormatCompressions(const char* format, const char** names, int* count);

/// Modules of binary files.
enum imBinFileModule {
    IM_FILE = 0,       ///< files by path
    IM_MEMORYFILE = 2  ///< memory blocks by imBinMemoryFileName
};

/// A binary file: bytes on a disk or in memory.
struct imBinFile;

/// A memory block as a file. Cast its address to `const char*` where a file name is asked for.
/// Reading: `size` bytes at `buffer`, which stay the caller's. Writing: with `buffer` null a first
/// block of `size` bytes is made when needed; as the file grows, `buffer` and `size` are kept up to
/// date with the block and its capacity, and the record must live until the file is closed. The
/// caller then gives the block back by imBinMemoryRelease, and may do so before that only after
/// the file is closed. A given block for writing comes from malloc.
struct imBinMemoryFileName {
    unsigned char* buffer;  ///< the block
    int size;               ///< bytes in it
    float reallocate;  ///< factor of growth in writing, above 1; 0 or less: the block doesn't grow
};

/// Chooses the module of the files that this thread opens from now on.
/// @return the module before; -1, without a change, for an unknown one
IM_API int imBinFileSetCurrentModule(int module);

/// Gives back a block that a memory file made. Null is let through.
IM_API void imBinMemoryRelease(unsigned char* buffer);

/// Opens a file for reading, by the thread's module; null when that fails.
IM_API imBinFile* imBinFileOpen(const char* file_name);

/// Makes a file for writing, by the thread's module; null when that fails.
IM_API imBinFile* imBinFileNew(const char* file_name);

/// Closes a file. Null is let through.
IM_API void imBinFileClose(imBinFile* file);

/// Bytes in the file. Sizes and positions beyond 2^31 - 1 read as that.
IM_API int imBinFileSize(imBinFile* file);

/// Bytes before the position.
IM_API int imBinFileTell(imBinFile* file);

/// Moves the position, counted from the start. 0, or 1 when that is refused.
IM_API int imBinFileSeekTo(imBinFile* file, int position);

/// Reads up to `count` bytes; the number read.
IM_API int imBinFileRead(imBinFile* file, void* bytes, int count);

/// Writes `count` bytes; the number written.
IM_API int imBinFileWrite(imBinFile* file, const void* bytes, int count);

/// The binary file below an image file; it lives as long as that. Null for null.
IM_API imBinFile* imFileHandle(imFile* file);

#endif
