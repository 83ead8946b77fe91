#include "serve/site.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <ctime>
#include <functional>

#include "reader/json_form.h"

namespace serve {
namespace {

using httplib::Request;
using httplib::Response;
using Json = nlohmann::ordered_json;
using Clock = std::chrono::steady_clock;

constexpr const char *kJson = "application/json";
constexpr const char *kLines = "application/x-ndjson";
constexpr const char *kText = "text/plain; charset=utf-8";

// Nothing from elsewhere is loaded, run or shown, and nobody else may show this.
constexpr struct {
    const char *name;
    const char *value;
} kHeaders[] = {
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; img-src 'self' data: blob:; "
     "base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
    {"X-Content-Type-Options", "nosniff"},
    {"X-Frame-Options", "DENY"},
    {"Referrer-Policy", "no-referrer"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"Cross-Origin-Opener-Policy", "same-origin"},
    {"Permissions-Policy", "camera=(), geolocation=(), microphone=()"},
    {"Cache-Control", "no-cache"},
    {"Vary", "Accept, Accept-Encoding"},
};

// In the only form that HTTP has: "Sun, 06 Nov 1994 08:49:37 GMT".
std::string http_date(reader::Time time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm parts = {};
    gmtime_r(&seconds, &parts);
    constexpr const char *kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    constexpr const char *kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    char text[64];
    (void)std::snprintf(text, sizeof(text), "%s, %02d %s %04d %02d:%02d:%02d GMT", kDays[parts.tm_wday], parts.tm_mday,
                        kMonths[parts.tm_mon], parts.tm_year + 1900, parts.tm_hour, parts.tm_min, parts.tm_sec);
    return text;
}

void send_problem(Response &response, int status, const std::string &text) {
    response.status = status;
    response.set_content(Json{{"error", text}}.dump() + '\n', kJson);
}

// "A", "B" or *: one of them is this.
bool names(const std::string &list, const std::string &tag) {
    return list == "*" || list.find('"' + tag + '"') != std::string::npos;
}

// Sent from where it is, however many take it at the same time; whoever is slow keeps it alive.
using Shared = std::shared_ptr<const std::string>;

// With its tag, or only that when the client has it already.
void send(const Request &request, Response &response, const std::string &tag, const Shared &text, const char *type) {
    response.set_header("ETag", '"' + tag + '"');
    if (names(request.get_header_value("If-None-Match"), tag)) {
        response.status = 304;
    } else if (text->empty()) {
        response.set_content("", type);
    } else {
        response.set_content_provider(text->size(), type,
                                      [text](std::size_t offset, std::size_t length, httplib::DataSink &sink) {
                                          return sink.write(text->data() + offset, length);
                                      });
    }
}

void send(const Request &request, Response &response, const std::string &tag,
          const std::shared_ptr<const Publication> &now, const Sendable &text, const char *type) {
    if (request.has_header(BoundedServer::kTakesGzip) && !text.gzip.empty()) {
        response.set_header("Content-Encoding", "gzip");
        send(request, response, tag + "-gzip", Shared(now, &text.gzip), type);
        return;
    }
    send(request, response, tag, Shared(now, &text.plain), type);
}

// A whole number in the query; `otherwise` when there is none.
std::uint64_t number_of(const Request &request, const char *key, std::uint64_t otherwise) {
    const std::string text = request.get_param_value(key);
    std::uint64_t number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() && !text.empty() ? number : otherwise;
}

// In a time that does not tell how much of it was right.
bool is_same_secret(const std::string &a, const std::string &b) {
    unsigned char difference = a.size() == b.size() ? 0 : 1;
    for (std::size_t i = 0; i < a.size(); ++i) {
        difference = static_cast<unsigned char>(difference | (a[i] ^ (b.empty() ? '\0' : b[i % b.size()])));
    }
    return difference == 0 && !b.empty();
}

// What browsers send when people type a password: base64 of "user:password".
std::string password_in(const std::string &base64) {
    constexpr const char *kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    unsigned bits = 0;
    int count = 0;
    for (const char c : base64.substr(0, base64.find('='))) {
        const char *digit = std::strchr(kDigits, c);
        if (c == '\0' || digit == nullptr) {
            return "";
        }
        bits = bits << 6U | static_cast<unsigned>(digit - kDigits);
        count += 6;
        if (count >= 8) {
            count -= 8;
            text += static_cast<char>(bits >> static_cast<unsigned>(count) & 0xffU);
        }
    }
    const std::size_t colon = text.find(':');
    return colon == std::string::npos ? "" : text.substr(colon + 1);
}

std::string in_lower_case(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

// Without its port.
std::string host_in(const std::string &header) {
    const std::size_t bracket = header.rfind(']');
    const std::size_t colon = header.find(':', bracket == std::string::npos ? 0 : bracket);
    return in_lower_case(header.substr(0, colon));
}

bool is_address(const std::string &host) {
    unsigned char bytes[16];
    if (host.find('\0') != std::string::npos) {
        return false;
    }
    const bool is_v6 = host.size() > 2 && host.front() == '[' && host.back() == ']' &&
                       inet_pton(AF_INET6, host.substr(1, host.size() - 2).c_str(), bytes) == 1;
    return is_v6 || inet_pton(AF_INET, host.c_str(), bytes) == 1;
}

// One of those who wait.
class Place {
public:
    explicit Place(std::atomic<int> &taken) : taken_(taken), number_(taken.fetch_add(1)) {}
    ~Place() { taken_.fetch_sub(1); }
    Place(const Place &) = delete;
    Place &operator=(const Place &) = delete;
    int number() const { return number_; }

private:
    std::atomic<int> &taken_;
    const int number_;
};

}  // namespace

// --- who may ask what ---

bool Site::has_token(const Request &request) const {
    const std::string header = request.get_header_value("Authorization");
    const std::string bearer = "Bearer ";
    const std::string basic = "Basic ";
    if (header.compare(0, bearer.size(), bearer) == 0) {
        return is_same_secret(header.substr(bearer.size()), access_.token);
    }
    return header.compare(0, basic.size(), basic) == 0 &&
           is_same_secret(password_in(header.substr(basic.size())), access_.token);
}

// A page from elsewhere can have its own name lead here; an address cannot be made to.
bool Site::is_our_host(const std::string &host) const {
    return is_address(host) || host == "localhost" ||
           std::any_of(access_.hosts.begin(), access_.hosts.end(),
                       [&](const std::string &name) { return in_lower_case(name) == host; });
}

bool Site::refuse(const Request &request, Response &response) const {
    if (request.get_header_value_count("Host") != 1) {
        send_problem(response, 400, "one Host is needed");
    } else if (!is_our_host(host_in(request.headers.find("Host")->second))) {
        send_problem(response, 421, "this server does not go by that name; --host NAME tells it one");
    } else if (!access_.token.empty() && !has_token(request)) {
        response.set_header("WWW-Authenticate", "Basic realm=\"qo1905: the token as password\", charset=\"UTF-8\"");
        send_problem(response, 401, "a token is needed: Authorization: Bearer TOKEN, or as the password of any user");
    } else if (request.method != "GET" && request.method != "HEAD") {
        response.set_header("Allow", "GET, HEAD");
        send_problem(response, 405, "nothing can be changed here");
    } else {
        return false;
    }
    return true;
}

// --- what there is ---

struct Site::Resource {
    const char *path;
    const char *about;
    void (Site::*send)(const Request &, Response &);
};

const std::vector<Site::Resource> &Site::resources() {
    static const std::vector<Resource> all = {
        {"/api/v1/", "what there is", &Site::send_index},
        {"/api/v1/mesh", "the mesh now: a snapshot; a line each with Accept: application/x-ndjson", &Site::send_mesh},
        {"/api/v1/events", "what has happened: ?after=NUMBER, waits up to ?wait=SECONDS or until ?version= is no more",
         &Site::send_events},
        {"/api/v1/history", "what is remembered: since when, until when", &Site::send_span},
        {"/api/v1/history/mesh", "the mesh as it was: ?at=SECONDS since 1970", &Site::send_past<&Chronicle::mesh>},
        {"/api/v1/history/who", "where somebody was and how well heard: ?mac=MAC[&kind=device][&from=][&until=]",
         &Site::send_past<&Chronicle::somebody>},
        {"/api/v1/history/counts", "devices and stations: [?from=][&until=]", &Site::send_past<&Chronicle::counts>},
        {"/api/v1/history/gaps", "when nothing was recorded: [?from=][&until=]", &Site::send_past<&Chronicle::gaps>},
        {"/api/v1/history/roamers", "who roamed most: [?from=][&until=]", &Site::send_past<&Chronicle::roamers>},
        {"/api/v1/history/sticky", "who stuck to a far device: [?from=][&until=]",
         &Site::send_past<&Chronicle::sticky>},
        {"/metrics", "for Prometheus", &Site::send_metrics},
        {"/qo1905.json", "the model, as it stands", &Site::send_file<&reader::Inputs::model>},
        {"/qo1905_log.json", "the change log, as it stands", &Site::send_file<&reader::Inputs::log>},
        {"/ecnt_agent_assoc_list.24g", "stations on 2.4 GHz, as it stands",
         &Site::send_file<&reader::Inputs::list_24g>},
        {"/ecnt_agent_assoc_list.5g", "stations on 5 GHz, as it stands", &Site::send_file<&reader::Inputs::list_5g>},
    };
    return all;
}

void Site::answer(const Request &request, Response &response) {
    for (const auto &header : kHeaders) {
        response.set_header(header.name, header.value);
    }
    response.set_header("Date", http_date(std::chrono::system_clock::now()));
    response.status = 200;
    if (refuse(request, response)) {
        return;
    }
    for (const Resource &resource : resources()) {
        if (request.path == resource.path) {
            (this->*resource.send)(request, response);
            return;
        }
    }
    send_page(request, response);
}

void Site::send_index(const Request &, Response &response) {
    Json list = Json::array();
    for (const Resource &resource : resources()) {
        list.push_back({{"path", resource.path}, {"about", resource.about}});
    }
    response.set_content(Json{{"schema", reader::kSchema}, {"resources", list}}.dump(2) + '\n', kJson);
}

void Site::send_mesh(const Request &request, Response &response) {
    const auto now = feed_.now();
    response.set_header("Last-Modified", http_date(now->snapshot().time));
    if (request.get_header_value("Accept").find(kLines) != std::string::npos) {
        send(request, response, now->version() + "-lines", now, now->lines(), kLines);
        return;
    }
    send(request, response, now->version(), now, now->json(), kJson);
}

void Site::send_events(const Request &request, Response &response) {
    constexpr std::uint64_t kLongest = 25;  // seconds; what stands between may give up after 30
    const std::uint64_t number = number_of(request, "after", 0);
    const std::uint64_t seconds = std::min(number_of(request, "wait", kLongest), kLongest);
    const Place place(waiting_);
    const bool may_wait = place.number() < kMostWaiting;
    const Feed::News news = feed_.news_after(number, request.get_param_value("version"),
                                             Clock::now() + std::chrono::seconds(may_wait ? seconds : 0));
    Json events = Json::array();
    for (const NumberedEvent &item : news.events) {
        Json event = {{"number", item.number}};
        event.update(reader::to_json(item.event));
        events.push_back(std::move(event));
    }
    const Json whole = {{"schema", reader::kSchema},
                        {"version", news.version},
                        {"last", news.last},
                        {"gap", news.has_gap},
                        {"events", std::move(events)}};
    response.set_content(whole.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n', kJson);
    response.set_header("Cache-Control", "no-store");
}

namespace {

std::optional<history::Number> time_of(const Request &request, const char *key) {
    constexpr std::uint64_t kLast = 253402300799;  // of the year 9999
    if (!request.has_param(key)) {
        return std::nullopt;
    }
    const std::uint64_t number = number_of(request, key, kLast + 1);
    if (number > kLast) {
        throw Refusal{400, std::string(key) + " has to be in seconds since 1970"};
    }
    return static_cast<history::Number>(number);
}

Question question_of(const Request &request) {
    return {request.get_param_value("mac"), request.get_param_value("kind") != "device", time_of(request, "from"),
            time_of(request, "until"), time_of(request, "at")};
}

// The past does not change, but for its last minutes: a tag of its bytes saves them on the way.
void send_answer(const Request &request, Response &response, const Json &json) {
    const auto text =
        std::make_shared<const Sendable>(sendable(json.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n'));
    const bool is_gzip = request.has_header(BoundedServer::kTakesGzip) && !text->gzip.empty();
    if (is_gzip) {
        response.set_header("Content-Encoding", "gzip");
    }
    const std::string tag = std::to_string(std::hash<std::string>{}(text->plain)) + (is_gzip ? "-gzip" : "");
    send(request, response, tag, Shared(text, is_gzip ? &text->gzip : &text->plain), kJson);
}

}  // namespace

void Site::send_span(const Request &request, Response &response) {
    try {
        send_answer(request, response, chronicle_.span());
    } catch (const Refusal &refusal) {
        send_problem(response, refusal.status, refusal.words);
    }
}

template <Json (Chronicle::*kAnswer)(const Question &) const>
void Site::send_past(const Request &request, Response &response) {
    try {
        send_answer(request, response, (chronicle_.*kAnswer)(question_of(request)));
    } catch (const Refusal &refusal) {
        send_problem(response, refusal.status, refusal.words);
    }
}

void Site::send_metrics(const Request &, Response &response) {
    response.set_content(metrics_(feed_.now()->snapshot()), "text/plain; version=0.0.4; charset=utf-8");
    response.set_header("Cache-Control", "no-store");
}

template <reader::Input reader::Inputs::*kFile>
void Site::send_file(const Request &request, Response &response) {
    const auto now = feed_.now();
    const reader::Input &file = now->inputs().*kFile;
    if (file.problem) {
        const bool is_missing = file.problem->kind == reader::Problem::Kind::kMissing;
        send_problem(response, 404, is_missing ? "not written yet" : file.problem->reason);
        return;
    }
    const bool is_json = request.path.find(".json") != std::string::npos;
    response.set_header("Last-Modified", http_date(file.time));
    const std::string tag = std::to_string(file.time.time_since_epoch().count()) + '-' +
                            std::to_string(std::hash<std::string>{}(file.text));
    send(request, response, tag, Shared(now, &file.text), is_json ? kJson : kText);
}

void Site::send_page(const Request &request, Response &response) {
    const std::string name =
        request.path == "/" ? "index.html" : request.path.substr(std::min<std::size_t>(1, request.path.size()));
    const auto file = page_.find(name, request.has_header(BoundedServer::kTakesGzip));
    if (file) {
        if (file->is_gzip) {
            response.set_header("Content-Encoding", "gzip");
        }
        send(request, response, file->tag, std::make_shared<const std::string>(file->text), file->type.c_str());
        return;
    }
    if (request.path == "/") {
        response.status = 404;
        response.set_content(
            "The page is not there: it was not built, or is still being built (npm is needed for that). It would lie "
            "in\n" +
                page_.folder() + "\nWhat else there is: /api/v1/\n",
            kText);
        return;
    }
    send_problem(response, 404, "there is nothing here; /api/v1/ lists what there is");
}

}  // namespace serve
