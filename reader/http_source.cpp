#include "reader/http_source.h"

#include <httplib.h>

#include <ctime>
#include <regex>

namespace reader {
namespace {

constexpr std::time_t kSilence = 5;  // seconds
constexpr auto kMostTime = std::chrono::seconds(20);

struct Address {
    std::string host;  // with scheme and port
    std::string path;  // ends in a slash
};

std::optional<Address> split(const std::string &text) {
    static const std::regex kPattern(R"((http://[A-Za-z0-9._-]+|http://\[[0-9a-fA-F:.]+\])(:[0-9]{1,5})?(/[!-~]*)?)");
    std::smatch parts;
    if (!std::regex_match(text, parts, kPattern)) {
        return std::nullopt;
    }
    std::string path = parts[3].str();
    path += path.empty() || path.back() != '/' ? "/" : "";
    return Address{parts[1].str() + parts[2].str(), path};
}

// When the file was written, as the server tells; else now.
Time time_of(const httplib::Response &response) {
    std::tm parts = {};
    const std::string told = response.get_header_value("Last-Modified");
    if (strptime(told.c_str(), "%a, %d %b %Y %H:%M:%S GMT", &parts) == nullptr) {
        return std::chrono::system_clock::now();
    }
    return std::chrono::system_clock::from_time_t(timegm(&parts));
}

class HttpSource : public Source {
public:
    HttpSource(std::string name, Address address) : name_(std::move(name)), address_(std::move(address)) {}

    Inputs read() override {
        Inputs inputs;
        inputs.source = name_;
        inputs.model = get("qo1905.json");
        if (!inputs.model.problem && !is_whole_model(inputs.model.text)) {
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
        input.problem = Problem{not_there ? Problem::Kind::kMissing : Problem::Kind::kUnreadable, input.file,
                                result ? "the server answers " + std::to_string(result->status)
                                       : "no answer: " + httplib::to_string(result.error())};
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
