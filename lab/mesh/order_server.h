// The door that `./dev lab` knocks at: a socket in the lab's folder. A request is a line of JSON,
// {"order": "move", "words": ["02:57:00:00:00:11", "attic"]}; so is the answer, {"ok": true, "text": "..."}.
#pragma once

#include <asio.hpp>
#include <memory>
#include <string>

#include "lab/mesh/line_link.h"
#include "lab/mesh/mesh.h"

namespace lab {

class OrderServer {
public:
    OrderServer(asio::io_context &io, Mesh &mesh, const std::string &path);

private:
    void accept();
    void answer(LineLink &link, const std::string &line);

    asio::local::stream_protocol::acceptor acceptor_;
    Mesh &mesh_;
};

}  // namespace lab
