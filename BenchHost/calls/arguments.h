/**
 * @file   arguments.h
 * @brief  Turns typed words into the argument values of an export, or says in one line why they do not fit.
 */
#pragma once

#include <span>
#include <string>
#include <variant>
#include <vector>

#include "HostKit/export_table.h"
#include "VelmoraLibrary.h"

namespace kesh_host {

/** Takes the place of a task id; the task is created for the call. */
struct NewTask {};

struct ArgumentValue {
    Kind kind = Kind::integer;
    std::string typed;          ///< as the user wrote it
    bool above_signed = false;  ///< a pattern of 2^63 or more that was typed as a positive number
    std::variant<mint, NewTask, std::string, std::vector<mint>> value;
};

/**
 * Binds words to the parameters of an export.
 * @param any_count accept any number of words: those beyond the parameters are read as integers
 * @throws BadInput
 */
std::vector<ArgumentValue> bind_arguments(const Export& entry, std::span<const std::string> words, bool any_count);

/** A task id as typed after a command. @throws BadInput when it is not a positive integer */
mint read_task_id(const std::string& word);

/** The exact decimal value of an argument, for display and JSON ("new" for a task yet to be made). */
std::string value_text(const ArgumentValue& argument);

}  // namespace kesh_host
