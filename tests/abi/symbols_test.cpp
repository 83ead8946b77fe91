// What the built module exports, imports and needs: part of its contract with the host.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include "tests/support/module.h"

using testing::AnyOf;
using testing::ContainsRegex;
using testing::StartsWith;
using testing::UnorderedElementsAreArray;

namespace {

std::string output_of(const std::string &command) {
    std::FILE *pipe = popen(command.c_str(), "r");
    std::string text;
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) {
        text += static_cast<char>(c);
    }
    EXPECT_EQ(pclose(pipe), 0) << command;
    return text;
}

struct Symbol {
    std::string name;
    char kind;
    std::string version;
};

std::vector<Symbol> symbols(const std::string &which) {
    std::istringstream lines(output_of("nm -D --without-symbol-versions " + which + " " QO1905_MODULE));
    std::istringstream versioned(output_of("nm -D --with-symbol-versions " + which + " " QO1905_MODULE));
    std::vector<Symbol> found;
    std::string line;
    for (std::string other; std::getline(lines, line) && std::getline(versioned, other);) {
        const std::size_t space = line.rfind(' ');
        const std::size_t at = other.find('@');
        found.push_back({line.substr(space + 1), line[space - 1], at == std::string::npos ? "" : other.substr(at + 1)});
    }
    EXPECT_FALSE(found.empty());
    return found;
}

TEST(Symbols, ExportsAreExactlyTheFunctionsAndVariablesOfTheInterface) {
    const std::set<std::string> functions = {
#define QO1905_NAME(name) #name,
        QO1905_EXPORTED_FUNCTIONS(QO1905_NAME)};
    const std::set<std::string> variables = {QO1905_EXPORTED_VARIABLES(QO1905_NAME)};
#undef QO1905_NAME
    std::set<std::string> exported_functions;
    std::set<std::string> exported_variables;
    for (const Symbol &symbol : symbols("--defined-only")) {
        (symbol.kind == 'T' ? exported_functions : exported_variables).insert(symbol.name);
        EXPECT_THAT(symbol.kind, AnyOf('T', 'D', 'B')) << symbol.name;
    }
    EXPECT_EQ(exported_functions, functions);
    EXPECT_EQ(exported_variables, variables);
    EXPECT_EQ(functions.size(), 30U);
    EXPECT_EQ(variables.size(), 6U);
}

// Every platform function is used, and nothing else that is not the C library's or json-c's.
TEST(Symbols, ImportsAreExactlyThePlatformTheCLibraryAndJsonC) {
    const std::set<std::string> platform = {"lanmon_timer_event_add",
                                            "log_level",
                                            "lanmon_db_L2Device_get",
                                            "lanmon_db_is_subIntf",
                                            "mapd_interface_ctrl_open",
                                            "mapd_interface_ctrl_attach",
                                            "mcfgFeObjStructGetNext",
                                            "getEasyMeshStatus",
                                            "EasyMeshGetDeviceRole",
                                            "getControllerMac",
                                            "getFWVersion",
                                            "getHostName",
                                            "getDeviceIP",
                                            "qoUtilIGetBaseMACwithColon",
                                            "StaInfo",
                                            "configWlanEnable"};
    const std::set<std::string> json_c = {"json_object_array_get_idx", "json_object_array_length",
                                          "json_object_get_int",       "json_object_get_object",
                                          "json_object_get_string",    "json_object_is_type",
                                          "json_object_object_get",    "json_object_put",
                                          "json_tokener_free",         "json_tokener_new",
                                          "json_tokener_parse",        "json_tokener_parse_ex",
                                          "lh_kchar_table_new",        "lh_table_free",
                                          "lh_table_insert",           "lh_table_lookup_ex"};
    std::set<std::string> unversioned;
    std::set<std::string> from_json_c;
    for (const Symbol &symbol : symbols("--undefined-only")) {
        if (symbol.kind == 'w') {
            continue;  // hooks of the toolchain, absent on a router
        }
        if (symbol.version.rfind("JSONC_", 0) == 0) {
            from_json_c.insert(symbol.name);
        } else if (symbol.version.empty()) {
            unversioned.insert(symbol.name);
        } else {
            EXPECT_THAT(symbol.version, StartsWith("GLIBC_2.")) << symbol.name;
            EXPECT_LE(std::stoi(symbol.version.substr(8)), 34) << symbol.name;
        }
    }
    EXPECT_EQ(unversioned, platform);
    EXPECT_EQ(from_json_c, json_c);
}

TEST(Symbols, NeedsJsonCAndTheCLibraryAlone) {
    std::istringstream lines(output_of("readelf -d " QO1905_MODULE));
    std::vector<std::string> needed;
    for (std::string line; std::getline(lines, line);) {
        if (line.find("(NEEDED)") != std::string::npos) {
            needed.push_back(line.substr(line.find('[')));
        }
    }
    // Where the guard of the stack is a variable, it is in the C library's other half, the loader that is there anyway.
    needed.erase(
        std::remove_if(needed.begin(), needed.end(), [](const std::string &name) { return name.rfind("[ld", 0) == 0; }),
        needed.end());
    EXPECT_THAT(needed, UnorderedElementsAreArray({StartsWith("[libjson-c.so."), StartsWith("[libc.so.")}));
}

// ---- hardening ----

TEST(Hardening, EverySymbolIsBoundWhenTheModuleIsLoaded) {
    const std::string dynamic = output_of("readelf -dW " QO1905_MODULE);
    EXPECT_THAT(dynamic, ContainsRegex("FLAGS.*(BIND_NOW|NOW)"));
    EXPECT_EQ(dynamic.find("TEXTREL"), std::string::npos);
}

// What is relocated once is not written again, and no page can be both written and run.
TEST(Hardening, RelocatedConstantsAreReadOnlyAndTheStackIsNotRun) {
    const std::string headers = output_of("readelf -lW " QO1905_MODULE);
    // On MIPS, where the global offset table is never protected, there may be nothing to protect; the linker then makes
    // no such segment, although asked to.
    const std::string sections = output_of("readelf -SW " QO1905_MODULE);
    const bool is_mips = sections.find(".MIPS.") != std::string::npos;
    if (!is_mips || sections.find(".data.rel.ro") != std::string::npos) {
        EXPECT_THAT(headers, ContainsRegex("GNU_RELRO "));
    }
    EXPECT_THAT(headers, ContainsRegex("GNU_STACK .* RW +0x"));
    EXPECT_EQ(headers.find(" RWE "), std::string::npos);
#ifdef __OPTIMIZE__
    EXPECT_EQ(headers.find(".init_array"), std::string::npos);  // nothing to start, nothing to end
#endif
}

TEST(Hardening, BuffersOnTheStackAreGuarded) {
    std::set<std::string> imported;
    for (const Symbol &symbol : symbols("--undefined-only")) {
        imported.insert(symbol.name);
    }
    EXPECT_EQ(imported.count("__stack_chk_fail") + imported.count("__stack_chk_fail_local"), 1U);
    // The C library's own checks, where it has them for this compiler.
#if defined(__GLIBC__) && defined(__OPTIMIZE__) && !defined(__clang__)
    EXPECT_EQ(imported.count("__printf_chk"), 1U);
    EXPECT_EQ(imported.count("__snprintf_chk"), 1U);
    EXPECT_EQ(imported.count("printf"), 0U);
#endif
}

}  // namespace
