/**
 * @file   looks.h
 * @brief  How things look under given options on the streams of this process.
 */
#pragma once

#include "answers/print_look.h"
#include "commands/options.h"
#include "terminal/progress_text.h"
#include "terminal/terminal.h"

namespace kesh_host {

/** Of answers on standard output. */
PrintLook look_of(const Options& options);
/** Of the progress line on standard error. */
ProgressLook progress_look_of(const Options& options);
/** Of messages on standard error. */
Style error_style_of(const Options& options);

}  // namespace kesh_host
