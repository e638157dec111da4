/**
 * @file   host.cpp
 * @brief  Creates the one host of the process.
 */
#include "HostKit/host.h"

namespace kesh_host {

Host& host() {
    static Host* the_host = new Host;
    return *the_host;
}

}  // namespace kesh_host
