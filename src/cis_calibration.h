// The second set of kernels for contact image sensors.
#pragma once

/// KelCISColorCalibrate() with kernels that leave the green plane as it is.
/// @return 0, always
int KelCISColorCalibrateHDPColor(unsigned char* src, unsigned char* dst, int width, int height);
