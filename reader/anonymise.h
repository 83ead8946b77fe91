// Replaces what tells whose mesh it is: MACs, names and addresses. The same always becomes the same, in all files and,
// with the table kept, in all bundles of a mesh, so that tree and history still hold together. Who has the table can
// tell back what was what. Whatever is not known to be harmless (versions, states, media, numbers) goes altogether.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <unordered_map>

#include "reader/input.h"
#include "reader/json.h"
#include "reader/mac.h"

namespace reader {

class Anonymiser {
public:
    // What an earlier one has kept; false when the text is no such table.
    bool load_table(const std::string &text);
    std::string table() const;

    // Every file of a moment. What cannot be understood cannot be made anonymous either: it is left out and told.
    void anonymise(Inputs &inputs);

    std::string mac(Mac mac);
    std::string name(const std::string &name, const char *kind);  // "device", "station", "ssid"
    std::string address(const std::string &address);

    // Random, and the same as long as the table is.
    const std::string &id() const { return id_; }

    // "21 MACs, 17 names and 16 addresses are others; left out: 3".
    std::string summary() const;

private:
    static std::string new_id();
    void anonymise_json(Input &input);
    void replace_in(Json &json);
    void drop_unknown(Json &object);
    std::string text(const std::string &text, const std::string &key);
    std::string with_other_macs(const std::string &text);
    std::string leases(const std::string &text);
    std::string list(const std::string &text);

    std::string id_ = new_id();
    std::size_t left_out_ = 0;
    std::unordered_map<Mac, std::string, MacHash> macs_;
    std::unordered_map<std::string, std::string> names_;
    std::unordered_map<std::string, std::string> addresses_;
};

// A model or a dump without the password of the mesh, whose place stays.
std::string without_password(const std::string &text);

}  // namespace reader
