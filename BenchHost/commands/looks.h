/**
 * @file   looks.h
 * @brief  The look of output on the streams of this process, as the options determine it.
 */
#pragma once

#include "answers/print_look.h"
#include "commands/options.h"
#include "terminal/progress_text.h"
#include "terminal/terminal.h"

namespace kesh_host {

/** The look of results on standard output. */
PrintLook look_of(const Options& options);
/** The look of the progress line on standard error. */
ProgressLook progress_look_of(const Options& options);
/** The look of messages on standard error. */
Style error_style_of(const Options& options);

}  // namespace kesh_host
