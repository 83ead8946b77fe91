#include "lab/mesh/order_server.h"

#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <vector>

#include "lab/common/error.h"
#include "lab/common/json.h"

namespace lab {
namespace {

using Words = std::vector<std::string>;

struct Order {
    std::size_t words;
    std::string (*carry_out)(Mesh &mesh, const Words &words);
};

const std::map<std::string, Order> kOrders = {
    {"status", {0, [](Mesh &mesh, const Words &) { return mesh.status_table(); }}},
    {"stations", {0, [](Mesh &mesh, const Words &) { return mesh.station_table(); }}},
    {"data", {0, [](Mesh &mesh, const Words &) { return mesh.status_data().dump(2); }}},
    {"folder", {1, [](Mesh &mesh, const Words &words) { return mesh.node(words[0]).folder(); }}},
    {"send", {2, [](Mesh &mesh, const Words &words) { return mesh.send(words[0], words[1]); }}},
    {"role",
     {2,
      [](Mesh &mesh, const Words &words) {
          return mesh.set_role(words[0], words[1] == "controller" ? Role::kController : Role::kAgent);
      }}},
    {"down", {1, [](Mesh &mesh, const Words &words) { return mesh.take_down(words[0]); }}},
    {"up", {1, [](Mesh &mesh, const Words &words) { return mesh.bring_up(words[0]); }}},
    {"restart-mapd", {1, [](Mesh &mesh, const Words &words) { return mesh.restart_daemon(words[0]); }}},
    {"wifi",
     {3, [](Mesh &mesh, const Words &words) { return mesh.switch_wifi(words[0], words[1], words[2] == "on"); }}},
    {"move", {2, [](Mesh &mesh, const Words &words) { return mesh.move(words[0], words[1]); }}},
};

std::string carry_out(Mesh &mesh, const std::string &line) {
    const JsonValue request = JsonValue::parse(line, "the order");
    const std::string name = request.at("order").text();
    Words words;
    for (const JsonValue &word : request.at("words").items()) {
        words.push_back(word.text());
    }
    const auto order = kOrders.find(name);
    if (order == kOrders.end() || words.size() != order->second.words) {
        throw Error("no such order: " + line);
    }
    return order->second.carry_out(mesh, words);
}

}  // namespace

OrderServer::OrderServer(asio::io_context &io, Mesh &mesh, const std::string &path) : acceptor_(io, path), mesh_(mesh) {
    accept();
}

void OrderServer::accept() {
    acceptor_.async_accept([this](const asio::error_code &error, LineLink::Socket socket) {
        if (error == asio::error::operation_aborted) {
            return;
        }
        if (error) {
            accept();  // whoever knocked has gone, or there is no descriptor now
            return;
        }
        const auto link = std::make_shared<LineLink>(std::move(socket));
        link->open([this, weak = std::weak_ptr(link)](const std::string &line) { answer(*weak.lock(), line); }, [] {});
        accept();
    });
}

void OrderServer::answer(LineLink &link, const std::string &line) {
    nlohmann::json reply;
    try {
        reply = {{"ok", true}, {"text", carry_out(mesh_, line)}};
    } catch (const std::exception &error) {
        reply = {{"ok", false}, {"text", error.what()}};
    }
    link.send(reply.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
    link.close_when_sent();
}

}  // namespace lab
