/**
 * @file   print_look.h
 * @brief  The look of printed results: colours, width, and how much is shown.
 */
#pragma once

#include "terminal/terminal.h"

namespace kesh_host {

/** The look of a result, as the options and the terminal determine it. */
struct PrintLook {
    Style style;
    unsigned width = 80;
    bool quiet = false;  ///< print only the result
    bool whole_tensors = false;
};

}  // namespace kesh_host
