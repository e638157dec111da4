/**
 * @file   print_look.h
 * @brief  How answers look: colours, width, how much of them.
 */
#pragma once

#include "terminal/terminal.h"

namespace kesh_host {

/** What the options and the terminal say about the look of an answer. */
struct PrintLook {
    Style style;
    unsigned width = 80;
    bool quiet = false;  ///< the bare result
    bool whole_tensors = false;
};

}  // namespace kesh_host
