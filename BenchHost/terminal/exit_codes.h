/**
 * @file   exit_codes.h
 * @brief  The exit codes of kesh-host. After several calls the largest one is used.
 */
#pragma once

namespace kesh_host {

enum ExitCode {
    exit_ok = 0,
    exit_call_failed = 1,   ///< an export returned an error code, threw, or its task reported "Error"
    exit_bad_input = 2,     ///< nothing was called
    exit_no_library = 3,    ///< the library cannot be found, opened or used
    exit_breach = 4,        ///< the library broke the host protocol
    exit_interrupted = 130  ///< Ctrl-C
};

}  // namespace kesh_host
