/**
 * @file   primality_command.h
 * @brief  The call of KESH_PrimeQ: numbers of the line, of a file, and walks to their neighbours.
 */
#pragma once

#include "commands/command.h"

namespace kesh_host {

int test_primality(Session& session, const Request& request);

}  // namespace kesh_host
