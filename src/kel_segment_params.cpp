// Printing, comparing and copying the settings of whole-and-part binarization. The printed texts
// are what hosts' logs have always held, with their misnamed and doubled lines.
#include <cstdio>

#include "kel_segment.h"

namespace {

/// Prints a difference; true when there is none.
bool compared(const char* name, int first, int second) {
    if (first != second) std::printf("%s error![0]%d [1]%d\n", name, first, second);
    return first == second;
}

bool compared(const char* name, double first, double second) {
    const bool equal = first == second;
    if (!equal) std::printf("%s error![0]%f [1]%f\n", name, first, second);
    return equal;
}

}  // namespace

void KelPrintKelBinrizeWholeAndPartParams(kelBinrizeWholeAndPartParams* params) {
    const kelBinrizeWholeAndPartParams& p = *params;
    std::printf("KelPrintKelBinrizeWholeAndPartParams:\n");
    std::printf("err_red_thres = %d    grey_thres = %d\n", p.err_red_thres, p.grey_thres);
    std::printf("up = %d  down = %d   thres_err = %d\n", p.up, p.down, p.thres_err);
    std::printf("isToJudge = %d   err_aver_thres = %f   thres_whole_err = %d\n", p.isToJudge,
                p.err_aver_thres, p.thres_whole_err);
    std::printf("isOpp = %d  method = %d  block_size = %d  param1 = %d   thres = %d\n", p.isOpp,
                p.method, p.block_size, p.param1, p.thres);
}

int KelCompareKelBinrizeWholeAndPartParams(kelBinrizeWholeAndPartParams* first,
                                           kelBinrizeWholeAndPartParams* second) {
    const kelBinrizeWholeAndPartParams &a = *first, &b = *second;
    std::printf("compare result...............\n");
    bool equal = compared("err_read_thres", a.err_red_thres, b.err_red_thres);
    equal &= compared("grey_thres", a.grey_thres, b.grey_thres);
    equal &= compared("up", a.up, b.up);
    equal &= compared("down", a.down, b.down);
    equal &= compared("thres_err", a.thres_err, b.thres_err);
    equal &= compared("isToJudge", a.isToJudge, b.isToJudge);
    equal &= compared("isToJudge", a.isToJudge, b.isToJudge);
    equal &= compared("err_aver_thres", a.err_aver_thres, b.err_aver_thres);
    equal &= compared("isToJudge", a.thres_whole_err, b.thres_whole_err);
    equal &= compared("isOpp", a.isOpp, b.isOpp);
    equal &= compared("method", a.method, b.method);
    equal &= compared("block_size", a.block_size, b.block_size);
    equal &= compared("param1", a.param1, b.param1);
    equal &= compared("thres", a.thres, b.thres);
    if (equal) std::printf("bpp0 is same of bpp1");
    std::printf(".............\n");
    return equal ? 0 : -1;
}

void KelCopyKelBinrizeWholeAndPartParams(kelBinrizeWholeAndPartParams* target,
                                         kelBinrizeWholeAndPartParams* source) {
    *target = *source;
}
