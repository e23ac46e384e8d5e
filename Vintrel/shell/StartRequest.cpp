#include "Vintrel/shell/StartRequest.h"

#include "Vintrel/shell/ApplicationRequests.h"

#include <algorithm>

namespace Vintrel::CommandLine {

namespace {

bool isHelp(std::string_view word) {
    return word == "--help" || word == "-h";
}

} // namespace

Parsed parse(std::span<const std::string_view> arguments) {
    StartRequest request;
    bool isOptions = true;
    for (size_t index = 0; index < arguments.size(); ++index) {
        const std::string_view word = arguments[index];
        if (!isOptions || !word.starts_with('-')) {
            if (!word.contains(':')) { // no address has none
                return {.wish = Wish::unknown};
            }
            request.urls.emplace_back(word);
        } else if (word == "--") {
            isOptions = false;
        } else if (isHelp(word)) {
            return {.wish = Wish::help};
        } else if (word == "--version") {
            return {.wish = Wish::version};
        } else if (word == "--show") {
            request.isToShow = true;
        } else if (word == "--service") {
            request.isService = true;
        } else if (word == "--action" && index + 1 < arguments.size() && request.action.empty()) {
            request.action = arguments[++index];
            if (!ApplicationActions::isKnown(request.action)) {
                return {.wish = Wish::unknown};
            }
        } else {
            return {.wish = Wish::unknown};
        }
    }
    if (request.isService && (request.isToShow || !request.urls.empty() || !request.action.empty())) {
        return {.wish = Wish::unknown};
    }
    return {.wish = Wish::run, .request = std::move(request)};
}

Parsed parse(std::span<char* const> argv) {
    std::vector<std::string_view> arguments;
    if (!argv.empty()) { // a program can be started without even its name
        arguments.assign(argv.begin() + 1, argv.end());
    }
    return parse(arguments);
}

std::string_view usage() {
    return "usage: vintrel-app [--show] [--action NAME] [URL...]\n"
           "       vintrel-app --service\n"
           "\n"
           "  --show         open the list of stray processes\n"
           "  --action NAME  scan-now, clean-safe-strays, or bind-global-shortcuts: ask the desktop\n"
           "                 for keys that do the first two from everywhere\n"
           "  --service      start without a window: at login, or for the message bus\n"
           "  --version      print the version\n"
           "  --help         print this\n"
           "\n"
           "URLs are vintrel://scan and vintrel://clean; others are ignored. When the program runs\n"
           "already, all of this is handed to it, and without any of it, it shows its list, as it\n"
           "does where there is no tray for its icon.\n";
}

} // namespace Vintrel::CommandLine
