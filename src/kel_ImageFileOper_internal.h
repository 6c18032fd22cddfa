// What kel_ImageFileOper keeps to itself.
#pragma once

/// The canonical format name for an extension, in letters of either case. Returns 0, or -1 with
/// `format` untouched.
int KelStandardFormatName(const char* extension, char* format);

/// Whether a format has a special compression.
bool Kel_CheckSepcialCprTypeIsOK(const char* format, int cprType);

/// Reserved for saving several pages: does nothing, returns 0.
int Kel_SaveImage_Mult_DT();
