/**
 * @file   refusal.cpp
 * @brief  Prints a message about bad input, or its JSON object.
 */
#include "answers/refusal.h"

#include <unistd.h>

#include <nlohmann/json.hpp>

#include "answers/json.h"
#include "terminal/exit_codes.h"
#include "terminal/layout.h"
#include "terminal/output.h"
#include "terminal/printable.h"

namespace kesh_host {

using Json = nlohmann::ordered_json;

int report_bad_input(bool json, const std::vector<std::string>& words, const std::string& message) {
    if (json) {
        print(json_line(
            {{"export", words.empty() ? Json() : Json(words[0])}, {"status", "bad input"}, {"message", message}}));
    } else {
        print_error(fitted(printable(message) + "\n", STDERR_FILENO));
    }
    return exit_bad_input;
}

}  // namespace kesh_host
