#include "reader/bundle.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>

#include "reader/json.h"
#include "reader/json_form.h"
#include "reader/words.h"

namespace reader {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char *kManifest = "bundle.json";

// Where the parts of a moment lie in a bundle.
struct Place {
    const char *path;
    Input Inputs::*part;
};
constexpr std::array<Place, 5> kPlaces = {{{"tmp/qo1905.json", &Inputs::model},
                                           {"tmp/dump.txt", &Inputs::dump},
                                           {"var/dnsmasq/dnsmasq.leases", &Inputs::leases},
                                           {"tmp/ecnt_agent_assoc_list.24g", &Inputs::list_24g},
                                           {"tmp/ecnt_agent_assoc_list.5g", &Inputs::list_5g}}};

std::string last_part(const std::string &path) { return path.substr(path.rfind('/') + 1); }

// --- reading ---

struct CloseRead {
    void operator()(archive *whole) const { archive_read_free(whole); }
};
using ReadArchive = std::unique_ptr<archive, CloseRead>;

constexpr std::size_t kBlock = 16384;
constexpr std::size_t kMostEntries = 10000;
constexpr int kMostFilters = 2;  // gzip, and none
constexpr la_int64_t kMostTogether = la_int64_t{5} * static_cast<la_int64_t>(kMostBytes);

// The whole of the file that is next; an empty one and a problem if it is larger than any.
bool take_text(archive *whole, Input &input) {
    std::array<char, kBlock> block = {};
    for (;;) {
        const la_ssize_t size = archive_read_data(whole, block.data(), block.size());
        if (size <= 0) {
            return size == 0;
        }
        if (input.text.size() + static_cast<std::size_t>(size) > kMostBytes) {
            input.text.clear();
            input.problem = Problem{Problem::Kind::kUnreadable, input.file, "is larger than any model"};
            return true;
        }
        input.text.append(block.data(), static_cast<std::size_t>(size));
    }
}

// Only what a bundle has, known by the end of its path: people pack such folders by hand, too.
bool take(archive *whole, archive_entry *entry, Inputs &inputs, Input &notes) {
    const char *path = archive_entry_pathname(entry);
    if (path == nullptr || archive_entry_filetype(entry) != AE_IFREG) {
        return true;
    }
    Input *input = last_part(path) == kManifest ? &notes : nullptr;
    for (const Place &place : kPlaces) {
        input = last_part(path) == last_part(place.path) ? &(inputs.*place.part) : input;
    }
    if (input == nullptr) {
        return true;
    }
    input->text.clear();
    input->time = time_of(archive_entry_mtime(entry));
    input->problem.reset();
    return take_text(whole, *input);
}

std::string why(archive *whole) {
    const char *text = archive_error_string(whole);
    return std::string("is no whole bundle: ") + (text != nullptr ? text : "it is cut");
}

// Empty when all went well.
std::string take_all(const std::string &bytes, Inputs &inputs, Input &notes) {
    const ReadArchive whole(archive_read_new());
    archive_read_support_filter_gzip(whole.get());
    archive_read_support_format_tar(whole.get());
    int result = archive_read_open_memory(whole.get(), bytes.data(), bytes.size());
    la_int64_t size = 0;
    for (std::size_t seen = 1; result == ARCHIVE_OK; ++seen) {
        archive_entry *entry = nullptr;
        result = archive_read_next_header(whole.get(), &entry);
        // Before anything of it is unpacked.
        if (archive_filter_count(whole.get()) > kMostFilters) {
            return "is packed more than once";
        }
        size += result == ARCHIVE_OK ? archive_entry_size(entry) : 0;
        if (seen > kMostEntries || size > kMostTogether) {
            return "has more in it than a bundle";
        }
        if (result == ARCHIVE_OK && !take(whole.get(), entry, inputs, notes)) {
            return why(whole.get());
        }
    }
    return result == ARCHIVE_EOF ? "" : why(whole.get());
}

// --- writing ---

struct CloseWrite {
    void operator()(archive *whole) const { archive_write_free(whole); }
};
using WriteArchive = std::unique_ptr<archive, CloseWrite>;

struct FreeEntry {
    void operator()(archive_entry *entry) const { archive_entry_free(entry); }
};

bool put(archive *whole, const std::string &path, const std::string &text, Time time) {
    const std::unique_ptr<archive_entry, FreeEntry> entry(archive_entry_new());
    constexpr int kMode = 0644;
    archive_entry_set_pathname(entry.get(), path.c_str());
    archive_entry_set_size(entry.get(), static_cast<la_int64_t>(text.size()));
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_perm(entry.get(), kMode);
    archive_entry_set_mtime(entry.get(), std::chrono::system_clock::to_time_t(time), 0);
    return archive_write_header(whole, entry.get()) == ARCHIVE_OK &&
           archive_write_data(whole, text.data(), text.size()) == static_cast<la_ssize_t>(text.size());
}

std::string manifest(const Inputs &inputs, const std::string &made_by) {
    Json files = Json::array();
    Json missing = Json::array();
    for (const Place &place : kPlaces) {
        const Input &input = inputs.*place.part;
        if (input.problem) {
            missing.push_back({{"file", place.path},
                               {"kind", word(input.problem->kind)},
                               {"reason", valid_utf8(input.problem->reason)}});
        } else {
            files.push_back({{"file", place.path}, {"bytes", input.text.size()}, {"time", utc(input.time)}});
        }
    }
    Json whole = {{"schema", kSchema}, {"made_by", made_by}, {"made_at", utc(inputs.read_at)}};
    if (!inputs.anonymous.empty()) {
        whole["anonymous"] = inputs.anonymous;
    }
    whole["files"] = files;
    whole["missing"] = missing;
    return whole.dump(2) + '\n';
}

bool put_all(archive *whole, const Inputs &inputs, const std::string &made_by) {
    bool well = put(whole, kManifest, manifest(inputs, made_by), inputs.read_at);
    for (const Place &place : kPlaces) {
        const Input &input = inputs.*place.part;
        well = well && (input.problem || put(whole, place.path, input.text, input.time));
    }
    return well && archive_write_close(whole) == ARCHIVE_OK;
}

// A file of its own, so that nothing is left behind of a bundle that could not be written.
std::optional<std::string> write_whole(int file, const Inputs &inputs, const std::string &made_by) {
    const WriteArchive whole(archive_write_new());
    archive_write_add_filter_gzip(whole.get());
    archive_write_set_format_pax_restricted(whole.get());
    archive_write_set_filter_option(whole.get(), "gzip", "timestamp", nullptr);
    if (archive_write_open_fd(whole.get(), file) == ARCHIVE_OK && put_all(whole.get(), inputs, made_by)) {
        return std::nullopt;
    }
    const char *text = archive_error_string(whole.get());
    return text != nullptr ? text : "cannot be written";
}

}  // namespace

bool looks_like_bundle(const std::string &bytes) { return bytes.compare(0, 2, "\x1f\x8b") == 0; }

Inputs read_bundle(const Input &file) {
    Inputs inputs;
    inputs.source = file.file;
    inputs.read_at = std::chrono::system_clock::now();
    for (const Place &place : kPlaces) {
        Input &input = inputs.*place.part;
        input.file = file.file + ":" + place.path;
        input.problem = Problem{Problem::Kind::kMissing, input.file, "not in the bundle"};
    }
    Input notes;
    const std::string mistake = take_all(file.text, inputs, notes);
    if (!mistake.empty()) {
        inputs.model.problem = Problem{Problem::Kind::kUnreadable, file.file, mistake};
    } else if (!inputs.model.problem && !is_whole_model(inputs.model.text)) {
        inputs.model.problem =
            Problem{Problem::Kind::kTorn, inputs.model.file, "is cut: it does not end as a model does"};
    }
    std::string reason;
    const auto told = parse_json(notes.text, reason);
    inputs.anonymous = told ? text_of(*told, "anonymous").value_or("") : "";
    return inputs;
}

std::optional<Problem> write_bundle(const Inputs &inputs, const std::string &made_by, const std::string &path) {
    constexpr mode_t kMode = 0644;
    const bool is_output = path == "-";
    const int file =
        is_output ? dup(STDOUT_FILENO) : open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kMode);
    if (file < 0) {
        return Problem{Problem::Kind::kUnreadable, path,
                       errno == EEXIST ? "is there already, and stays" : std::strerror(errno)};
    }
    const auto mistake = write_whole(file, inputs, made_by);
    close(file);
    if (mistake && !is_output) {
        unlink(path.c_str());
    }
    return mistake ? std::optional(Problem{Problem::Kind::kUnreadable, is_output ? "standard output" : path, *mistake})
                   : std::nullopt;
}

}  // namespace reader
