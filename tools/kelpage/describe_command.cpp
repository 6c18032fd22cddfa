// kelpage describe: the program's own man page and shell completion, written from its commands, so
// that they never tell of an option that isn't there. The build runs it; the help doesn't list it.
#include <cstdio>
#include <string>
#include <vector>

#include "commands.h"

namespace kelpage {
namespace {

using Commands = std::vector<const CLI::App*>;

Commands commandsOf(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App* command) {
        return !command->get_name().empty() && !command->get_group().empty();
    });
}

std::vector<const CLI::Option*> optionsOf(const CLI::App& app) {
    return app.get_options([](const CLI::Option* option) { return !option->get_group().empty(); });
}

/// Text as roff prints it: no hyphens for minus signs, no line that looks like a request.
std::string plain(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if ((c == '.' || c == '\'') && (result.empty() || result.back() == '\n')) result += "\\&";
        if (c == '-' || c == '\\') result += '\\';
        result += c;
        if (c == '\n') result += ".br\n";
    }
    return result;
}

void printOption(const CLI::Option& option) {
    const std::string type = option.get_type_size() == 0 ? "" : option.get_type_name();
    std::printf(".TP\n\\fB%s\\fR", plain(option.get_name(option.get_positional(), true)).c_str());
    if (!type.empty()) std::printf(" \\fI%s\\fR", plain(type).c_str());
    std::printf("\n%s", plain(option.get_description()).c_str());
    if (!option.get_default_str().empty())
        std::printf(" (%s)", plain(option.get_default_str()).c_str());
    std::printf("\n");
}

void printManPage(const CLI::App& app) {
    std::printf(".TH KELPAGE 1 \"\" \"KelImageLib " KELPAGE_VERSION
                "\"\n"
                ".SH NAME\nkelpage \\- clean, straighten, binarize and measure scanned pages\n"
                ".SH SYNOPSIS\n.B kelpage\n\\fICOMMAND\\fR [\\fIOPTIONS\\fR] ...\n"
                ".SH DESCRIPTION\n%s\n"
                ".SH COMMANDS\n",
                plain(app.get_description()).c_str());
    for (const CLI::App* command : commandsOf(app)) {
        std::printf(".SS %s\n%s\n", plain(command->get_name()).c_str(),
                    plain(command->get_description()).c_str());
        for (const CLI::Option* option : optionsOf(*command))
            if (option != command->get_help_ptr()) printOption(*option);
    }
}

std::string longNamesOf(const CLI::App& command) {
    std::string names;
    for (const CLI::Option* option : optionsOf(command))
        for (const std::string& name : option->get_lnames())
            names += (names.empty() ? "--" : " --") + name;
    return names;
}

/// Commands and options by name; files where neither is asked for.
void printBashCompletion(const CLI::App& app) {
    std::printf(
        "_kelpage() {\n"
        "    local word=${COMP_WORDS[COMP_CWORD]} words=\n"
        "    COMPREPLY=()\n"
        "    case ${COMP_WORDS[1]} in\n");
    std::string all;
    for (const CLI::App* command : commandsOf(app)) {
        all += command->get_name() + " ";
        std::printf("    %s) words='%s' ;;\n", command->get_name().c_str(),
                    longNamesOf(*command).c_str());
    }
    std::printf(
        "    esac\n"
        "    if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
        "        words='%s%s'\n"
        "    elif [[ $word != -* ]]; then\n"
        "        return\n"
        "    fi\n"
        "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\")\n"
        "}\n"
        "complete -o default -F _kelpage kelpage\n",
        all.c_str(), longNamesOf(app).c_str());
}

}  // namespace

void addDescribe(CLI::App& app, int& /*status*/) {
    CLI::App* command = app.add_subcommand("describe", "Print the man page or the completion");
    command->group("");
    command->require_subcommand(1);
    command->add_subcommand("man", "The man page")->callback([&app] { printManPage(app); });
    command->add_subcommand("bash", "Completion for bash")->callback([&app] {
        printBashCompletion(app);
    });
}

}  // namespace kelpage
