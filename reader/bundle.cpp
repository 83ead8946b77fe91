#include "reader/bundle.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
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

class BundleSource : public Source {
public:
    explicit BundleSource(std::string path) : path_(std::move(path)) {}

    Inputs read() override {
        Inputs inputs;
        inputs.source = path_;
        inputs.read_at = std::chrono::system_clock::now();
        for (const Place &place : kPlaces) {
            Input &input = inputs.*place.part;
            input.file = path_ + ":" + place.path;
            input.problem = Problem{Problem::Kind::kMissing, input.file, "not in the bundle"};
        }
        std::string reason;
        if (!read_all(inputs, reason)) {
            inputs.model.problem = Problem{Problem::Kind::kUnreadable, path_, reason};
        } else if (!inputs.model.problem && !is_whole_model(inputs.model.text)) {
            inputs.model.problem =
                Problem{Problem::Kind::kTorn, inputs.model.file, "is cut: it does not end as a model does"};
        }
        return inputs;
    }

private:
    bool read_all(Inputs &inputs, std::string &reason) const {
        const ReadArchive whole(archive_read_new());
        archive_read_support_filter_gzip(whole.get());
        archive_read_support_format_tar(whole.get());
        int result = archive_read_open_filename(whole.get(), path_.c_str(), kBlock);
        std::size_t seen = 0;
        while (result == ARCHIVE_OK) {
            archive_entry *entry = nullptr;
            result = archive_read_next_header(whole.get(), &entry);
            if (result == ARCHIVE_OK && (++seen > kMostEntries || !take(whole.get(), entry, inputs))) {
                reason = seen > kMostEntries ? "has more files than a bundle" : why(whole.get());
                return false;
            }
        }
        if (result != ARCHIVE_EOF) {
            reason = why(whole.get());
        }
        return result == ARCHIVE_EOF;
    }

    static std::string why(archive *whole) {
        const char *text = archive_error_string(whole);
        return std::string("is no whole bundle: ") + (text != nullptr ? text : "it is cut");
    }

    // Only what a bundle has, known by the end of its path: people pack such folders by hand, too.
    static bool take(archive *whole, archive_entry *entry, Inputs &inputs) {
        const char *path = archive_entry_pathname(entry);
        for (const Place &place : kPlaces) {
            if (path == nullptr || archive_entry_filetype(entry) != AE_IFREG ||
                last_part(path) != last_part(place.path)) {
                continue;
            }
            Input &input = inputs.*place.part;
            input.text.clear();
            input.time = Time(std::chrono::seconds(archive_entry_mtime(entry)));
            input.problem.reset();
            return take_text(whole, input);
        }
        return true;
    }

    static bool take_text(archive *whole, Input &input) {
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

    static constexpr std::size_t kBlock = 16384;
    static constexpr std::size_t kMostEntries = 10000;
    std::string path_;
};

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

std::string manifest(const Inputs &inputs, const BundleNotes &notes) {
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
    const Json whole = {{"schema", kSchema},
                        {"made_by", notes.made_by},
                        {"made_at", utc(inputs.read_at)},
                        {"anonymous", notes.is_anonymous},
                        {"files", files},
                        {"missing", missing}};
    return whole.dump(2) + '\n';
}

bool put_all(archive *whole, const Inputs &inputs, const BundleNotes &notes) {
    bool well = put(whole, kManifest, manifest(inputs, notes), inputs.read_at);
    for (const Place &place : kPlaces) {
        const Input &input = inputs.*place.part;
        well = well && (input.problem || put(whole, place.path, input.text, input.time));
    }
    return well && archive_write_close(whole) == ARCHIVE_OK;
}

}  // namespace

bool looks_like_bundle(const std::string &path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    std::array<unsigned char, 2> magic = {};
    const bool is_gzip =
        file >= 0 && read(file, magic.data(), magic.size()) == 2 && magic[0] == 0x1f && magic[1] == 0x8b;
    if (file >= 0) {
        close(file);
    }
    return is_gzip;
}

SourceOrProblem open_bundle(const std::string &path) { return std::make_unique<BundleSource>(path); }

std::optional<Problem> write_bundle(const Inputs &inputs, const BundleNotes &notes, const std::string &path) {
    const WriteArchive whole(archive_write_new());
    archive_write_add_filter_gzip(whole.get());
    archive_write_set_format_pax_restricted(whole.get());
    archive_write_set_filter_option(whole.get(), "gzip", "timestamp", nullptr);
    const int opened = path == "-" ? archive_write_open_fd(whole.get(), STDOUT_FILENO)
                                   : archive_write_open_filename(whole.get(), path.c_str());
    if (opened != ARCHIVE_OK || !put_all(whole.get(), inputs, notes)) {
        const char *text = archive_error_string(whole.get());
        return Problem{Problem::Kind::kUnreadable, path == "-" ? "standard output" : path,
                       text != nullptr ? text : "cannot be written"};
    }
    return std::nullopt;
}

}  // namespace reader
