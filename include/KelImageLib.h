/// @file KelImageLib.h
/// All public headers of KelImageLib: image processing for document and bank-bill scanning.
#ifndef KELIMAGELIB_H
#define KELIMAGELIB_H

#include "kel_ArrayProperties.h"
#include "kel_CalAngle.h"
#include "kel_ConnectArea.h"
#include "kel_ImageBasicProcess.h"
#include "kel_ImageFileOper.h"
#include "kel_ImageStorage.h"
#include "kel_PatternAnalysis.h"
#include "kel_cv.h"
#include "kel_debug.h"
#include "kel_define.h"
#include "kel_im.h"
#include "kel_introduct.h"
#include "kel_segment.h"

#endif  // KELIMAGELIB_H
