#include "toolkit_errors.h"

#include "im.h"
#include "kel_debug.h"
#include "kel_im.h"

namespace kel::detail {

const char* toolkitErrorText(int error) {
    switch (error) {
        case IM_ERR_OPEN:
            return "Error Opening File.\n";
        case IM_ERR_ACCESS:
            return "Error Accessing File.\n";
        case IM_ERR_FORMAT:
            return "Invalid Format.\n";
        case IM_ERR_DATA:
            return "Image type not Suported.\n";
        case IM_ERR_COMPRESS:
            return "Invalid or unsupported compression.\n";
        case IM_ERR_MEM:
            return "Insuficient memory.\n";
        default:
            return "Unknown Error.\n";
    }
}

}  // namespace kel::detail

void PrintError(int error) {
    OutputDebugStringA(kel::detail::toolkitErrorText(error));
}
