// The REST server of a lab's Controller: hands out the files that the module wrote, as they stand. On loopback only.
// Writes its process id where the module looks for it, and its address beside it.

#include <httplib.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

constexpr const char *kPidFile = "/var/run/rest_api_server.pid";
constexpr const char *kUrlFile = "/var/run/rest_api_server.url";
constexpr int kFirstPort = 8905;
constexpr int kPorts = 1000;

struct Resource {
    const char *path;
    const char *file;
    const char *type;
};
constexpr Resource kResources[] = {
    {"/qo1905.json", "/tmp/qo1905.json", "application/json"},
    {"/qo1905_log.json", "/tmp/qo1905_log.json", "application/json"},
    {"/ecnt_agent_assoc_list.24g", "/tmp/ecnt_agent_assoc_list.24g", "text/plain"},
    {"/ecnt_agent_assoc_list.5g", "/tmp/ecnt_agent_assoc_list.5g", "text/plain"},
};

void serve_file(const Resource &resource, httplib::Response &response) {
    std::ifstream file(resource.file, std::ios::binary);
    if (!file) {
        response.status = 404;
        response.set_content("{\"error\": \"not written yet\"}\n", "application/json");
        return;
    }
    response.set_content(std::string{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()},
                         resource.type);
}

std::string index() {
    std::string text = "{\"resources\": [";
    for (const Resource &resource : kResources) {
        text += (&resource == kResources ? "\"" : ", \"") + std::string(resource.path) + '"';
    }
    return text + "]}\n";
}

// Several labs on one machine each get a port of their own.
int bind_first_free(httplib::Server &server) {
    for (int port = kFirstPort; port < kFirstPort + kPorts; ++port) {
        if (server.bind_to_port("127.0.0.1", port)) {
            return port;
        }
    }
    return -1;
}

}  // namespace

int main() {
    httplib::Server server;
    // Pages on a front-end developer's desk come from another port.
    server.set_default_headers({{"Access-Control-Allow-Origin", "*"}, {"Cache-Control", "no-store"}});
    // Without the library's SO_REUSEPORT, which would let two servers share a port.
    server.set_socket_options([](socket_t socket) {
        const int yes = 1;
        (void)setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
    });
    server.Get("/", [](const httplib::Request &, httplib::Response &response) {
        response.set_content(index(), "application/json");
    });
    for (const Resource &resource : kResources) {
        server.Get(resource.path, [&resource](const httplib::Request &, httplib::Response &response) {
            serve_file(resource, response);
        });
    }
    const int port = bind_first_free(server);
    if (port < 0) {
        (void)std::fprintf(stderr, "ohttpd_rest: no free port from %d on\n", kFirstPort);
        return 1;
    }
    std::ofstream(kUrlFile) << "http://127.0.0.1:" << port << '/';
    std::ofstream(kPidFile) << getpid() << '\n';
    std::printf("ohttpd_rest %d: serving http://127.0.0.1:%d/\n", static_cast<int>(getpid()), port);
    (void)std::fflush(stdout);
    return server.listen_after_bind() ? 0 : 1;
}
