#include "lab/mesh/order_client.h"

#include <poll.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <asio.hpp>
#include <nlohmann/json.hpp>

#include "lab/common/error.h"
#include "lab/common/json.h"
#include "lab/mesh/lab_folder.h"

namespace lab {
namespace {

using Stream = asio::local::stream_protocol;

constexpr int kAnswerMs = 10000;

bool connect_to_lab(Stream::socket &socket, const std::string &folder) {
    try {
        socket.connect(Stream::endpoint(folder + kOrderSocket));
        return true;
    } catch (const asio::system_error &) {  // also for a path that is too long
        return false;
    }
}

// Of this user. A lab that was killed answers nobody.
std::vector<std::string> running_labs() {
    asio::io_context io;
    std::vector<std::string> folders;
    for (const std::string &folder : lab_folders(geteuid())) {
        Stream::socket socket(io);
        if (connect_to_lab(socket, folder)) {
            folders.push_back(folder);
        }
    }
    return folders;
}

// They cannot be spoken to, but that they are there explains much.
std::string labs_of_others() {
    std::string text;
    for (const std::string &folder : lab_folders(std::nullopt)) {
        struct stat status = {};
        if (lstat(folder.c_str(), &status) == 0 && status.st_uid != geteuid()) {
            const passwd *owner = getpwuid(status.st_uid);
            text += (text.empty() ? ". Others have one: " : ", ") + folder + " (" +
                    (owner != nullptr ? owner->pw_name : std::to_string(status.st_uid)) + ")";
        }
    }
    return text;
}

}  // namespace

std::string find_lab() {
    const std::vector<std::string> folders = running_labs();
    if (folders.empty()) {
        throw Error("no lab is running; ./dev run starts one" + labs_of_others());
    }
    if (folders.size() > 1) {
        std::string text = "several labs are running; choose one with --lab:";
        for (const std::string &folder : folders) {
            text += ' ' + folder;
        }
        throw Error(text);
    }
    return folders[0];
}

std::string give_order(const std::string &folder, const std::string &order, const std::vector<std::string> &words) {
    asio::io_context io;
    Stream::socket socket(io);
    if (!connect_to_lab(socket, folder)) {
        throw Error(folder + ": no lab answers there");
    }
    const nlohmann::json request = {{"order", order}, {"words", words}};
    std::string text;
    try {
        (void)asio::write(socket, asio::buffer(request.dump() + '\n'));
        pollfd readable = {socket.native_handle(), POLLIN, 0};
        if (poll(&readable, 1, kAnswerMs) != 1) {
            throw Error("it is busy, or stopped");
        }
        const std::size_t size = asio::read_until(socket, asio::dynamic_buffer(text), '\n');
        const JsonValue reply = JsonValue::parse(text.substr(0, size), "its answer");
        text = reply.at("text").text();
        if (reply.at("ok").boolean()) {
            return text;
        }
    } catch (const nlohmann::json::type_error &) {
        throw Error("words have to be UTF-8");
    } catch (const std::exception &error) {
        throw Error(folder + ": the lab gave no answer: " + error.what());
    }
    throw Refusal(text);
}

}  // namespace lab
