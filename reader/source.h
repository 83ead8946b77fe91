// Where files come from: a gateway's own folders, a saved one, a model alone, a gateway's REST server, a device of a
// lab.
#pragma once

#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "reader/input.h"

namespace reader {

class Source {
public:
    virtual ~Source() = default;

    // The files of this moment. What the source does not have is told in them.
    virtual Inputs read() = 0;

    // The file that is written anew when there is something new, with its folder; empty where one has to ask now and
    // then.
    virtual std::string watched() const { return {}; }

    // False for what says the same whenever it is asked: a bundle, standard input.
    virtual bool can_change() const { return true; }
};

using SourceOrProblem = std::variant<std::unique_ptr<Source>, Problem>;

// What people name:
//
//     FOLDER             a folder that looks like a device's root, with tmp/ and var/dnsmasq/ or dnsmasq/ in it; or
//     with
//                        the files themselves
//     FILE, -            a bundle (reader/bundle.h), or a model alone; - is standard input
//     http://HOST:PORT/  a REST server that hands out the files
//     lab:DEVICE         a device of the lab that runs here
SourceOrProblem open_source(const std::string &name);

// Names of the devices of the lab that runs here; none when none or several run.
std::vector<std::string> lab_devices();

// This machine itself.
inline constexpr const char *kOwnRoot = "/";

}  // namespace reader
