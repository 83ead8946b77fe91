#include "cli/serving.h"

#include <csignal>
#include <iostream>
#include <memory>

#include "cli/exports.h"
#include "cli/follower.h"
#include "cli/recording.h"
#include "cli/text.h"

namespace cli {
namespace {

constexpr std::size_t kShortestToken = 16;

struct Serving {
    serve::Wanted server;
    int port = -1;
    std::string source;
    std::string token_file;
    std::string home;
    double pause = 2;  // seconds
};

// One line, which nobody guesses.
std::string read_token(const std::string &path) {
    const reader::Input file = reader::read_file(path);
    if (file.problem) {
        say(file.problem->text());
        throw Stop{kUsage};
    }
    std::string token = file.text.substr(0, file.text.find_first_of("\r\n"));
    if (token.size() < kShortestToken) {
        say(path + ": a token has 16 characters or more on one line, such as: head -c 18 /dev/urandom | base64");
        throw Stop{kUsage};
    }
    if (token.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=_.~-") !=
        std::string::npos) {
        say(path + ": a token has letters, digits and + / = _ . ~ - in it");
        throw Stop{kUsage};
    }
    return token;
}

void check_access(const Serving &wanted) {
    if (!serve::is_loopback(wanted.server.address) && wanted.token_file.empty()) {
        say("--listen " + wanted.server.address +
            " lets others ask, too: that needs --token-file FILE, with a line of 16 characters or more in it");
        throw Stop{kUsage};
    }
}

// A past that cannot be told yet is none that never will be.
void tell_memory(const serve::Memory &memory) {
    try {
        if (!memory.file.empty()) {
            (void)serve::Chronicle(memory).span();
        }
    } catch (const serve::Refusal &refusal) {
        say("no past to show yet: " + refusal.words);
    }
}

// The address alone goes to standard output, for scripts.
void tell_start(const serve::Server &server, const std::string &source) {
    std::cout << server.url() << std::endl;
    say("open " + server.url() + " (Ctrl-C ends); source: " + source);
    if (!server.page().is_there()) {
        say("the page is not there (" + server.page().folder() + "), the rest is: " + server.url() + "api/v1/");
    }
}

void run(Serving &wanted, const Options &options) {
    check_access(wanted);
    if (!wanted.token_file.empty()) {
        wanted.server.access.token = read_token(wanted.token_file);
    }
    if (wanted.port >= 0) {
        wanted.server.port = wanted.port;
    }
    wanted.server.pause = std::chrono::milliseconds(static_cast<long>(wanted.pause * 1000));
    const std::string source = wanted.source.empty() ? options.source : wanted.source;
    wanted.server.memory.home = wanted.home.empty() ? source : wanted.home;
    wanted.server.memory.is_certain = !wanted.home.empty();
    auto opened = open_source(source);
    const EndingSignals signals;
    const auto server = make_server(std::move(opened), wanted.server);
    if (!server->start()) {
        say("cannot listen on " + wanted.server.address +
            (wanted.port >= 0 ? " port " + std::to_string(wanted.port) : "") +
            ": not an address of this machine, or in use");
        throw Stop{kUnreadable};
    }
    tell_start(*server, source);
    tell_memory(wanted.server.memory);
    (void)signals.wait();
    signals.let_go();  // who presses it again does not want to wait for anything
}

}  // namespace

std::unique_ptr<serve::Server> make_server(std::unique_ptr<reader::Source> source, const serve::Wanted &wanted) {
    return std::make_unique<serve::Server>(std::move(source), wanted, [](const reader::Snapshot &snapshot) {
        return prometheus_text(snapshot, PrometheusOptions());
    });
}

EndingSignals::EndingSignals() {
    sigemptyset(&set_);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction now = {};
        (void)sigaction(signal, nullptr, &now);
        if (now.sa_handler != SIG_IGN) {  // as nohup wants it
            sigaddset(&set_, signal);
        }
    }
    pthread_sigmask(SIG_BLOCK, &set_, nullptr);
}

int EndingSignals::wait() const {
    int signal = 0;
    sigwait(&set_, &signal);
    return signal;
}

void EndingSignals::let_go() const { pthread_sigmask(SIG_UNBLOCK, &set_, nullptr); }

void add_serving(CLI::App &app, Question &question) {
    const auto wanted = std::make_shared<Serving>();
    CLI::App *verb = app.add_subcommand("serve", "The page, and what programs ask for, over HTTP");
    verb->footer("Example:\n  qo1905 serve lab:gateway    and open http://127.0.0.1:8905/");
    verb->add_option("SOURCE", wanted->source, "As --source takes it");
    verb->add_option("--listen", wanted->server.address, "Address to listen on; another than loopback needs a token")
        ->capture_default_str();
    verb->add_option("--port", wanted->port, "Port, 0 for any; without, the first free one from 8905 on")
        ->check(CLI::Range(0, 65535));
    verb->add_option("--token-file", wanted->token_file, "File with the token that everybody has to show");
    verb->add_option("--host", wanted->server.access.hosts, "A name that the server goes by, beside localhost")
        ->allow_extra_args(false);  // what follows is the source
    verb->add_option("--page", wanted->server.page, "Folder of the page, if it is not where it was installed");
    verb->add_option("--every", wanted->pause, "Seconds between two questions to an address")
        ->capture_default_str()
        ->check(CLI::Range(0.1, 1e6));
    CLI::Option *database = add_database(*verb, wanted->server.memory.file);
    verb->add_option("--home", wanted->home, "What the source is called there, if it goes by another name")
        ->needs(database);
    verb->callback([&question, wanted] {
        question.deed = [&question, wanted](Answer &) {
            refuse_format("serve", question.options);
            run(*wanted, question.options);
        };
    });
}

}  // namespace cli
