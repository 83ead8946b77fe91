#include "reader/http_source.h"

#include <httplib.h>

#include <algorithm>
#include <condition_variable>
#include <ctime>
#include <mutex>
#include <string_view>
#include <thread>

namespace reader {
namespace {

constexpr std::time_t kSilence = 5;  // seconds
constexpr std::string_view kModel = "/qo1905.json";
constexpr auto kMostTime = std::chrono::seconds(20);

struct Address {
    std::string host;  // with scheme and port
    std::string path;  // ends in a slash
};

bool consists_of(std::string_view text, std::string_view allowed) {
    return !text.empty() && text.find_first_not_of(allowed) == std::string_view::npos;
}

// A name or number, or an IPv6 address in brackets.
bool is_host(std::string_view text) {
    constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-";
    constexpr std::string_view kHex = "0123456789abcdefABCDEF:.";
    const bool bracketed = text.size() > 2 && text.front() == '[' && text.back() == ']';
    return bracketed ? consists_of(text.substr(1, text.size() - 2), kHex) : consists_of(text, kLetters);
}

bool is_port(std::string_view text) {
    constexpr std::size_t kMostDigits = 5;
    return text.size() <= kMostDigits && consists_of(text, "0123456789");
}

bool is_path(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < 0x7f; });
}

// http://HOST[:PORT][/PATH]
std::optional<Address> split(const std::string &text) {
    constexpr std::string_view kScheme = "http://";
    const std::string_view rest = std::string_view(text).substr(kScheme.size());
    const std::size_t slash = std::min(rest.find('/'), rest.size());
    const std::string_view server = rest.substr(0, slash);
    const std::size_t bracket = server.rfind(']');
    const std::size_t colon = server.find(':', bracket == std::string_view::npos ? 0 : bracket);
    const bool has_port = colon != std::string_view::npos;
    if (!is_host(server.substr(0, colon)) || (has_port && !is_port(server.substr(colon + 1))) ||
        !is_path(rest.substr(slash))) {
        return std::nullopt;
    }
    std::string path(rest.substr(slash));
    const std::size_t model = path.rfind(kModel);  // the model itself will do
    path.resize(model != std::string::npos && path.size() == model + kModel.size() ? model : path.size());
    path += path.empty() || path.back() != '/' ? "/" : "";
    return Address{text.substr(0, kScheme.size() + server.size()), path};
}

// When the file was written, as the server tells; else now.
Time time_of(const httplib::Response &response) {
    std::tm parts = {};
    const std::string told = response.get_header_value("Last-Modified");
    if (strptime(told.c_str(), "%a, %d %b %Y %H:%M:%S GMT", &parts) == nullptr) {
        return std::chrono::system_clock::now();
    }
    return reader::time_of(std::int64_t{timegm(&parts)});
}

std::string no_answer(httplib::Error error) {
    switch (error) {
        case httplib::Error::Connection:
            return "no answer: nobody takes connections there, or the name is not known";
        case httplib::Error::Read:
            return "no answer in time, or one that breaks off";
        case httplib::Error::Canceled:
            return "the answer does not end";
        default:
            return "no answer: " + httplib::to_string(error);
    }
}

// Gives a request up when its time is over, however little by little the server answers.
class Watchdog {
public:
    explicit Watchdog(httplib::Client &client)
        : thread_([this, &client] {
              std::unique_lock<std::mutex> lock(mutex_);
              if (!done_.wait_for(lock, kMostTime, [this] { return is_done_; })) {
                  client.stop();
              }
          }) {}
    ~Watchdog() {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            is_done_ = true;
        }
        done_.notify_one();
        thread_.join();
    }
    Watchdog(const Watchdog &) = delete;
    Watchdog &operator=(const Watchdog &) = delete;

private:
    std::mutex mutex_;
    std::condition_variable done_;
    bool is_done_ = false;
    std::thread thread_;  // last: it uses the others
};

class HttpSource : public Source {
public:
    HttpSource(std::string name, Address address) : name_(std::move(name)), address_(std::move(address)) {}

    Inputs read() override {
        Inputs inputs;
        inputs.source = name_;
        for (int tries = 0; tries < 2 && !is_whole_model(inputs.model.text) && !inputs.model.problem; ++tries) {
            inputs.model = get("qo1905.json");
        }
        if (!inputs.model.problem && !is_whole_model(inputs.model.text)) {
            inputs.model.problem =
                Problem{Problem::Kind::kTorn, inputs.model.file, "is cut: it does not end as a model does"};
        }
        if (inputs.model.problem && inputs.model.problem->kind == Problem::Kind::kUnreadable) {
            // Who does not answer once is not asked five times.
            for (Input *other : {&inputs.dump, &inputs.leases, &inputs.list_24g, &inputs.list_5g}) {
                *other = inputs.model;
            }
        } else {
            inputs.dump = get("dump.txt");
            inputs.leases = get("dnsmasq.leases");
            inputs.list_24g = get("ecnt_agent_assoc_list.24g");
            inputs.list_5g = get("ecnt_agent_assoc_list.5g");
            inputs.log = get("qo1905_log.json");
        }
        inputs.read_at = std::chrono::system_clock::now();
        return inputs;
    }

private:
    Input get(const std::string &file) const {
        Input input;
        input.file = address_.host + address_.path + file;
        const auto end = std::chrono::steady_clock::now() + kMostTime;
        httplib::Client client(address_.host);
        client.set_connection_timeout(kSilence);
        client.set_read_timeout(kSilence);
        client.set_follow_location(false);
        const Watchdog watchdog(client);
        const auto result = client.Get(address_.path + file, [&](const char *data, std::size_t size) {
            input.text.append(data, size);
            return input.text.size() <= kMostBytes && std::chrono::steady_clock::now() < end;
        });
        const bool found = result && result->status == 200;
        if (found) {
            input.time = time_of(*result);
            return input;
        }
        input.text.clear();
        const bool not_there = result && result->status == 404;
        input.problem =
            Problem{not_there ? Problem::Kind::kMissing : Problem::Kind::kUnreadable, input.file,
                    result ? "the server answers " + std::to_string(result->status) : no_answer(result.error())};
        return input;
    }

    std::string name_;
    Address address_;
};

}  // namespace

SourceOrProblem open_http_source(const std::string &address) {
    auto parts = split(address);
    if (!parts) {
        return Problem{Problem::Kind::kMissing, address, "no address such as http://127.0.0.1:8905/"};
    }
    return std::make_unique<HttpSource>(address, std::move(*parts));
}

}  // namespace reader
