// The address of a socket in the file system.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <cstring>
#include <string>

namespace lab {

// False when the path is too long for one.
inline bool fill_unix_address(sockaddr_un &address, const std::string &path) {
    address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) {
        return false;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return true;
}

}  // namespace lab
