/**
 * @file   looks.cpp
 * @brief  Determines colours, width and character set from the options and the terminal.
 */
#include "commands/looks.h"

#include <unistd.h>

namespace kesh_host {

PrintLook look_of(const Options& options) {
    return {.style = Style(STDOUT_FILENO, options.colour),
            .width = terminal_width(STDOUT_FILENO),
            .quiet = options.quiet,
            .whole_tensors = options.all};
}

ProgressLook progress_look_of(const Options& options) {
    const bool terminal = is_terminal(STDERR_FILENO);
    return {.visible = terminal,
            .in_place = terminal,
            .utf8 = utf8_locale(),
            .style = Style(STDERR_FILENO, options.colour)};
}

Style error_style_of(const Options& options) {
    return Style(STDERR_FILENO, options.colour);
}

}  // namespace kesh_host
