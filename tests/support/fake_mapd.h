// The multi-AP daemon's client library for tests: connections that the test makes, and events that it sends on them.
#pragma once

#include <cstdint>
#include <string>

namespace fake {

// What the next opens do: fail so many times first, then hand out a connected socket.
void fail_opens(int times);

// So many attaches fail from now on.
void fail_attaches(int times);

// The next connection gets a descriptor that select cannot hold.
void give_unusable_descriptor();

// The next attach leaves another descriptor in its connection's record.
void spoil_descriptor_at_attach(int fd);

// The module has attached a connection.
bool is_attached();

// Sends a datagram to the module on the connection opened last.
void send_datagram(const std::string &bytes);

// An event datagram: id and length as they are, then the bytes behind them.
std::string event(int32_t id, int32_t length, const std::string &bytes);

}  // namespace fake
