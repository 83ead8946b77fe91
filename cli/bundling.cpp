#include "cli/bundling.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "cli/text.h"
#include "reader/anonymise.h"
#include "reader/bundle.h"

namespace cli {
namespace {

struct Wanted {
    std::string file;
    bool anonymise = false;
    std::string table;  // file of the real ones and the others
};

// For the eyes of its owner alone: it tells back what the bundle hides.
bool write_private(const std::string &path, const std::string &text) {
    std::string next = path + ".XXXXXX";  // mkostemp's own mode is 0600
    const int file = mkostemp(next.data(), O_CLOEXEC);
    const bool written = file >= 0 && write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    const bool closed = file >= 0 && close(file) == 0;
    if (written && closed && rename(next.c_str(), path.c_str()) == 0) {
        return true;
    }
    (void)unlink(next.c_str());
    return false;
}

// False with what is to be said.
bool anonymise(reader::Inputs &inputs, const std::string &table, Answer &answer) {
    reader::Anonymiser anonymiser;
    const reader::Input before = table.empty() ? reader::Input() : reader::read_file(table);
    if (before.problem && before.problem->kind != reader::Problem::Kind::kMissing) {
        answer.say(before.problem->text());
        return false;
    }
    if (!table.empty() && !before.problem && !anonymiser.load_table(before.text)) {
        answer.say(table + ": is there and no table of an earlier bundle");
        return false;
    }
    anonymiser.anonymise(inputs);
    answer.say(anonymiser.summary());
    if (!table.empty() && !write_private(table, anonymiser.table())) {
        answer.say(table + ": " + std::strerror(errno));
        return false;
    }
    return true;
}

// What is in it, what is not, and that the latter is no mistake.
void tell(const reader::Inputs &inputs, const std::string &file, Answer &answer) {
    std::size_t files = 0;
    for (const reader::Input *input :
         {&inputs.model, &inputs.dump, &inputs.leases, &inputs.list_24g, &inputs.list_5g}) {
        files += input->problem ? 0 : 1;
        if (input->problem) {
            answer.say("not in the bundle: " + input->problem->text());
        }
    }
    answer.say(file + ": " + counted(files, "file"));
}

void bundle(const Wanted &wanted, const Options &options, Answer &answer) {
    reader::Inputs inputs = open_source(options.source)->read();
    if (inputs.model.problem && inputs.dump.problem) {
        answer.say(inputs.model.problem->text());
        answer.status = status_of(*inputs.model.problem);
        return;
    }
    inputs.model.text = reader::without_password(inputs.model.text);
    inputs.dump.text = reader::without_password(inputs.dump.text);
    if (wanted.anonymise && !anonymise(inputs, wanted.table, answer)) {
        answer.status = kUnreadable;
        return;
    }
    if (const auto problem = reader::write_bundle(inputs, std::string("qo1905 ") + QO1905_VERSION, wanted.file)) {
        answer.say(problem->text());
        answer.status = kUnreadable;
        return;
    }
    tell(inputs, wanted.file, answer);
}

}  // namespace

void add_bundling(CLI::App &app, Question &question) {
    const auto wanted = std::make_shared<Wanted>();
    CLI::App *verb = app.add_subcommand("bundle", "Model, lists, leases and dump in one .tar.gz, for a ticket");
    verb->add_option("FILE", wanted->file, "Such as ticket.tar.gz; - is standard output")->required();
    CLI::Option *anonymise =
        verb->add_flag("--anonymise", wanted->anonymise, "With other MACs, names and addresses, the same for the same");
    verb->add_option("--table", wanted->table, "Keep which is which in this file, and the next bundle the same")
        ->needs(anonymise);
    verb->callback([&question, wanted] {
        question.deed = [&question, wanted](Answer &answer) {
            refuse_format("bundle", question.options);
            bundle(*wanted, question.options, answer);
        };
    });
}

}  // namespace cli
