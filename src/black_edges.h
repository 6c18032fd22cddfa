// Black edges, what is not exported.
#pragma once

/// Grows the white area of a binary plane at both ends of each row: the first 0 within the left
/// half becomes 255, unless it is the first pixel; that within the right half too, unless it is the
/// last pixel of row 0. In other rows a 0 in the last column is set: so it is wanted.
int KelEnlargeWhiteArea(unsigned char* image, int w, int h);
