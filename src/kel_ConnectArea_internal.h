// Connected areas, what is not exported: the labeller by point lists, which defines the labels; the
// colours and pictures of labels; classes across two labellings.
#pragma once

#include <opencv2/core/types_c.h>

#include "kel_ConnectArea.h"
#include "plane_view.h"

/// The colours of labels, by label modulo 6.
extern const kelRGB caShowColor[6];

/// One point of a list.
struct kelPointPosSeqNote {
    kelPointPosSeqNote() = default;
    kelPointPosSeqNote(int column, int row) : x(column), y(row) {}

    int32_t x = 0;
    int32_t y = 0;
    kelPointPosSeqNote* next = nullptr;
};

/// The points of one label. It points into itself, and frees its points by release() alone.
struct kelPointPosSeq {
    kelPointPosSeq() = default;
    kelPointPosSeq(const kelPointPosSeq&) = delete;
    kelPointPosSeq& operator=(const kelPointPosSeq&) = delete;
    ~kelPointPosSeq() = default;

    void addOnePoint(int x, int y);
    /// Frees all points; the list is empty then.
    void release();

    kelPointPosSeqNote head;           ///< not a point; head.next is the first
    kelPointPosSeqNote* tail = &head;  ///< the last point, or the head
    int32_t num = 0;
};

/// Labels a buffer of -1 (foreground) and 0 by one raster pass that relabels at once: when two
/// labels meet, the points of the greater take the smaller. A second pass closes the gaps.
///
/// This is the plain form that the exported generators are held against; they go another way, whose
/// time doesn't depend on how often labels meet.
/// @param labelCapacity foreground pixels + 1
/// @return the number of areas
int KC_GenerateCALabelBuf_Inner(int w, int h, int* labelBuf, int labelCapacity);

/// Gives the points of `fromLabel`, of which there is at least one, to `toLabel`.
int kel_merge_to_label(kelPointPosSeq* seqs, int w, int toLabel, int fromLabel, int* labelBuf);

/// Draws the labels into a picture that goes nowhere: no file is written.
int KC_DrawCALabelBuf(int* labelBuf, int w, int h, char* fileName);

/// Channel image to `IplImage` and back, for 1 or 3 channels; nothing is done for others.
int KelPutIplImage_ca(IplImage* image, unsigned char* planar);
int KelGetIplImage_ca(IplImage* image, unsigned char* planar);

/// At the pixels that are not 0 in both images, and of class `typeValueA` in labelling A, the class
/// of the label in B turns from `typeValueB` to `newValue`. Width, height and the row stride of
/// both images are those of `imageA`.
int kel_set_IplImage_label_eff(IplImage* imageA, int* labelA, int caNumA, int* typeA,
                               int typeValueA, IplImage* imageB, int* labelB, int caNumB,
                               int* typeB, int typeValueB, int newValue);

/// Takes the pixels that are not 0 in both images and of the classes asked for in both labellings,
/// grows them by one pixel on every side, and sets `out` to 255 where that meets a pixel of either
/// image. All images have the size of `imageA` and rows without padding.
int kel_process_IplImage_label_eff(IplImage* imageA, int* labelA, int caNumA, int* typeA,
                                   int typeValueA, IplImage* imageB, int* labelB, int caNumB,
                                   int* typeB, int typeValueB, IplImage* out);

namespace kel::detail {

/// The first bytes of each row, one for each pixel, whatever the channels.
inline PlaneView firstBytesOf(const IplImage& image) {
    return {reinterpret_cast<unsigned char*>(image.imageData), image.width, image.height,
            image.widthStep};
}

}  // namespace kel::detail
