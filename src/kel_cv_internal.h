// The OpenCV bridge's own file calls. They are the module's counterparts of the public ones and
// have no caller in the library.
#pragma once

/// Reads an image file as it is stored.
/// @param dst set to a new buffer of width*height*channels bytes; give it back with
///            kel_ReleaseImageFiles_cv()
/// @return 0; 1 when the file does not exist (a line goes to standard output, outputs untouched); 2
///         when it cannot be read (`*dst` is then null and `*channels` 0)
int kel_LoadImageFiles_cv(const char* name, unsigned char** dst, int* width, int* height,
                          int* channels);

/// Releases a buffer of kel_LoadImageFiles_cv(), if there is one, and sets the pointer to null.
void kel_ReleaseImageFiles_cv(unsigned char** buffer);

/// Writes a channel image of 1 or 3 channels.
/// @throws std::logic_error for a null name
void kel_SaveImage_cv(unsigned char* image, int width, int height, int channels, const char* name);
