#include "VintrelCore/scan/GoBetweens.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/scan/CommandWords.h"
#include "VintrelCore/scan/ToolNames.h"

#include <algorithm>
#include <array>
#include <string>

namespace VintrelCore::GoBetweens {

namespace {

using enum Sort;

// An option that is missing here passes for one without a value, and its value for what runs: the lists are
// those of the manuals, with options that the tools have dropped since.

constexpr std::string_view valuedOfNode =
    "-r --require --import --loader --experimental-loader -C --conditions --env-file --env-file-if-exists "
    "--input-type --inspect-port --debug-port --inspect-publish-uid --title --icu-data-dir --openssl-config "
    "--redirect-warnings --report-dir --report-directory --report-filename --report-signal --diagnostic-dir "
    "--disable-proto --disable-warning --dns-result-order --experimental-default-type "
    "--experimental-config-file "
    "--experimental-policy --policy-integrity --experimental-sea-config --build-snapshot-config --build-sea "
    "--cpu-prof-dir --cpu-prof-interval --cpu-prof-name --heap-prof-dir --heap-prof-interval "
    "--heap-prof-name "
    "--heapsnapshot-near-heap-limit --heapsnapshot-signal --localstorage-file --max-http-header-size "
    "--network-family-autoselection-attempt-timeout --secure-heap --secure-heap-min --snapshot-blob "
    "--stack-trace-limit --test-concurrency --test-name-pattern --test-skip-pattern --test-reporter "
    "--test-reporter-destination --test-shard --test-timeout --test-isolation --test-global-setup "
    "--test-coverage-include --test-coverage-exclude --test-coverage-lines --test-coverage-branches "
    "--test-coverage-functions --tls-cipher-list --tls-keylog --trace-event-categories "
    "--trace-event-file-pattern --trace-require-module --unhandled-rejections --use-largepages "
    "--v8-pool-size "
    "--watch-path --watch-kill-signal --allow-fs-read --allow-fs-write";

constexpr auto interpreters = std::to_array<GoBetween>({
    {.names = "node nodejs", .sort = interpreter, .valued = valuedOfNode, .code = "-e --eval -p --print"},
    {.names = "tsx",
     .sort = interpreter,
     .valued = "--tsconfig --include --exclude -r --require --import --loader -C --conditions --env-file "
               "--env-file-if-exists --inspect-port --title --watch-path",
     .code = "-e --eval -p --print",
     .phrases = "watch",
     .isScript = true},
    {.names = "ts-node ts-node-esm ts-node-script ts-node-transpile-only ts-node-dev tsnd",
     .sort = interpreter,
     .valued = "-r --require -P --project -O --compilerOptions -C --compiler -I --ignore -D "
               "--ignoreDiagnostics --cwd --watch --ignore-watch --interval --debounce",
     .code = "-e --eval -p --print",
     .isScript = true},
    {.names = "python python2 python3 pypy pypy3 Python",
     .sort = interpreter,
     .valued = "-W -X --check-hash-based-pycs",
     .code = "-c",
     .module = "-m"},
    {.names = "coverage",
     .sort = interpreter,
     .valued =
         "--source --source-pkgs --omit --include --rcfile --data-file --context --concurrency --save-signal",
     .module = "-m --module",
     .phrases = "run",
     .needsPhrase = true,
     .isScript = true},
    {.names = "ruby", .sort = interpreter, .valued = "-r -I -C -E", .code = "-e"},
    {.names = "perl", .sort = interpreter, .valued = "-I", .code = "-e -E"},
    {.names = "java",
     .sort = interpreter,
     .valued = "-cp -classpath --class-path --module-path --upgrade-module-path --add-modules --add-opens "
               "--add-exports --add-reads --limit-modules --patch-module --source"},
    {.names = "nodemon",
     .sort = interpreter,
     .valued = "-w --watch -e --ext -i --ignore -d --delay -s --signal --config --cwd --polling-interval",
     .text = "-x --exec",
     .isScript = true},
});

constexpr std::string_view valuedOfNPM =
    "-C --prefix -w --workspace --registry --userconfig --globalconfig --cache --loglevel --script-shell "
    "--shell "
    "--node-options --omit --include --otp --tag --scope --before --depth --https-proxy --proxy --noproxy";

constexpr auto packageRunners = std::to_array<GoBetween>({
    {.names = "npm npm-cli",
     .sort = runner,
     .valued = valuedOfNPM,
     .package = "--package",
     .text = "-c --call",
     .phrases = "exec|x|run|run-script|rum|urn",
     .needsPhrase = true,
     .isScript = true},
    {.names = "npx npx-cli",
     .sort = runner,
     .valued = valuedOfNPM,
     .package = "-p --package",
     .text = "-c --call",
     .isScript = true},
    {.names = "pnpm pn",
     .sort = runner,
     .valued = "-C --dir -F --filter --filter-prod --prefix --workspace-concurrency --reporter --loglevel "
               "--resume-from --test-pattern --changed-files-ignore-pattern --registry --store-dir "
               "--virtual-store-dir --modules-dir --network-concurrency --allow-build --cpu --libc --os",
     .package = "--package",
     .text = "-c --shell-mode",
     .phrases = "exec|dlx|run|run-script",
     .isScript = true,
     .runsScripts = true},
    {.names = "pnpx pnx",
     .sort = runner,
     .valued = "-C --dir --reporter --loglevel --registry --allow-build",
     .package = "--package",
     .text = "-c --shell-mode",
     .isScript = true},
    {.names = "yarn yarnpkg yarn-berry",
     .sort = runner,
     .valued = "--cwd --use-yarnrc --mutex --cache-folder --modules-folder --global-folder --registry "
               "--preferred-cache-folder --link-folder --network-concurrency --network-timeout --proxy "
               "--https-proxy -j --jobs --include --exclude --from --require",
     .package = "-p --package",
     .phrases = "workspaces foreach run|workspaces foreach exec|workspaces run|workspace * run|"
                "workspace * exec|workspace *|run|exec|dlx",
     .isScript = true,
     .runsScripts = true},
    {.names = "bun",
     .sort = runner,
     .valued =
         "-r --preload --require --import --cwd -c --config --env-file -d --define -l --loader --port "
         "--conditions --tsconfig-override --filter -F --main-fields --extension-order --drop --external "
         "--user-agent --title -u --origin --max-http-header-size --jsx-factory --jsx-fragment "
         "--jsx-import-source --jsx-runtime --fetch-preconnect --install --shell --elide-lines "
         "--unhandled-rejections --dns-result-order --feature",
     .code = "-e --eval -p --print",
     .phrases = "run|x",
     .isScript = true,
     .runsFiles = true},
    {.names = "bunx", .sort = runner, .package = "-p --package", .isScript = true},
    {.names = "deno",
     .sort = runner,
     .valued = "-c --config --import-map --lock -L --log-level --cert --location --seed --ext --preload "
               "--import --require --minimum-dependency-age --cwd -f --filter",
     .phrases = "run|task|x",
     .runsScripts = true,
     .runsFiles = true},
});

constexpr auto pythonRunners = std::to_array<GoBetween>({
    {.names = "uv",
     .sort = runner,
     .valued = "--directory --project --cache-dir --config-file --config-setting -C -p --python "
               "--python-preference --python-platform --with --with-editable --with-requirements -w --extra "
               "--no-extra --group --no-group --only-group --package --env-file --index --default-index "
               "--index-url -i --extra-index-url -f --find-links -P --upgrade-package --reinstall-package "
               "--refresh-package --resolution --prerelease --fork-strategy --index-strategy "
               "--keyring-provider --link-mode --no-build-package --no-binary-package --exclude-newer "
               "--no-build-isolation-package --color --allow-insecure-host -c --constraints --overrides "
               "-b --build-constraints --torch-backend",
     .module = "-m --module",
     .package = "--from",
     .phrases = "tool run|run",
     .needsPhrase = true,
     .runsAnyProgram = true},
    {.names = "uvx",
     .sort = runner,
     .valued =
         "--directory --project --cache-dir --config-file -p --python --with --with-editable "
         "--with-requirements -w --index --default-index --index-url -i --extra-index-url -f --find-links "
         "--env-file --prerelease --resolution --exclude-newer --color --allow-insecure-host -c "
         "--constraints --overrides -b --build-constraints --index-strategy --keyring-provider --link-mode",
     .package = "--from",
     .runsAnyProgram = true},
    {.names = "pipx",
     .sort = runner,
     .valued = "--python --pip-args --index-url -i --with --backend",
     .package = "--spec",
     .phrases = "run",
     .needsPhrase = true,
     .isScript = true,
     .runsAnyProgram = true},
    {.names = "poetry pipenv hatch pdm rye pixi conda mamba micromamba",
     .sort = runner,
     .valued = "-C --directory -P --project -p --prefix --python --pypi-mirror -e --env --environment "
               "--env-file -n --name --cwd --data-dir --cache-dir --config --manifest-path -r --root-prefix",
     .phrases = "run",
     .needsPhrase = true,
     .isScript = true,
     .runsAnyProgram = true},
});

constexpr auto launchers = std::to_array<GoBetween>({
    {.names = "env",
     .sort = launcher,
     .valued = "-u --unset -C --chdir --argv0 -a",
     .text = "-S --split-string",
     .takesVariables = true},
    {.names = "nice", .sort = launcher, .valued = "-n --adjustment"},
    {.names = "nohup setsid unbuffer busybox toybox", .sort = launcher},
    {.names = "catchsegv with-env", .sort = launcher, .isScript = true},
    {.names = "timeout gtimeout", .sort = launcher, .valued = "-k --kill-after -s --signal", .operands = 1},
    {.names = "stdbuf", .sort = launcher, .valued = "-i --input -o --output -e --error"},
    {.names = "time", .sort = launcher, .valued = "-f --format -o --output"},
    {.names = "ionice", .sort = launcher, .valued = "-c --class -n --classdata -p --pid -P --pgid -u --uid"},
    {.names = "chrt",
     .sort = launcher,
     .valued = "-T --sched-runtime -P --sched-period -D --sched-deadline",
     .operands = 1},
    {.names = "taskset", .sort = launcher, .operands = 1},
    {.names = "flock",
     .sort = launcher,
     .valued = "-w --timeout --wait -E --conflict-exit-code",
     .text = "-c --command",
     .operands = 1},
    {.names = "caffeinate", .sort = launcher, .valued = "-t -w"},
    {.names = "xvfb-run",
     .sort = launcher,
     .valued =
         "-n --server-num -e --error-file -f --auth-file -p --xauth-protocol -s --server-args -w --wait",
     .isScript = true},
    {.names = "dbus-run-session", .sort = launcher, .valued = "--config-file --dbus-daemon"},
    {.names = "dbus-launch", .sort = launcher, .valued = "--config-file --autolaunch"},
    {.names = "sudo doas",
     .sort = launcher,
     .valued =
         "-u --user -g --group -h --host -p --prompt -C --close-from -D --chdir -R --chroot -r --role -t "
         "--type -T --command-timeout -U --other-user -a",
     .code = "-e --edit -l --list",
     .takesVariables = true},
    {.names = "systemd-run",
     .sort = launcher,
     .valued =
         "-H --host -M --machine -u --unit -p --property --description --slice --service-type --uid --gid "
         "--nice --working-directory -E --setenv --path-property --socket-property --on-active --on-boot "
         "--on-startup --on-unit-active --on-unit-inactive --on-calendar --timer-property --background"},
    {.names = "systemd-inhibit", .sort = launcher, .valued = "--what --who --why --mode"},
    {.names = "strace",
     .sort = launcher,
     .valued = "-a --columns -b --detach-on -e --trace -E --env -I --interruptible -o --output -O "
               "--summary-syscall-overhead -p --attach -P --trace-path -s --string-limit -S "
               "--summary-sort-by -u --user -U --summary-columns -X --const-print-style"},
    {.names = "ltrace",
     .sort = launcher,
     .valued = "-a --align -A -D --debug -e -F --config -l --library -n --indent -o --output -p -s -u -w "
               "--where -x"},
    {.names = "script",
     .sort = launcher,
     .valued = "-I --log-in -O --log-out -B --log-io -T --log-timing -m --logging-format -E --echo -o "
               "--output-limit",
     .text = "-c --command",
     .operands = 1},
    {.names = "entr", .sort = launcher, .text = "-s"},
    {.names = "watchexec",
     .sort = launcher,
     .valued =
         "-w --watch -W --watch-non-recursive -F --watch-file -e --exts -i --ignore -f --filter -j "
         "--filter-prog --filter-file --ignore-file -s --signal --stop-signal --stop-timeout --map-signal "
         "-d --debounce --delay-run -o --on-busy-update -E --env --shell --project-origin --workdir "
         "--emit-events-to --fs-events --socket --color --log-file --completions",
     .runsInShell = true},
    {.names = "cross-env", .sort = launcher, .takesVariables = true, .isScript = true},
    {.names = "cross-env-shell",
     .sort = launcher,
     .takesVariables = true,
     .isScript = true,
     .runsInShell = true},
    // A function of shells. Without a version it takes the one that a file names, and any word may follow.
    {.names = "nvm", .sort = launcher, .phrases = "exec #", .needsPhrase = true},
    {.names = "env-cmd",
     .sort = launcher,
     .valued = "-f --file -e --environments -r --rc-file",
     .isScript = true},
    {.names = "dotenv dotenvx",
     .sort = launcher,
     .valued = "-e -v -p -f --env-file --env -fk --env-keys-file --file --export --convention",
     .phrases = "run",
     .isScript = true},
    {.names = "corepack", .sort = runner, .isScript = true},
    {.names = "c8 nyc",
     .sort = launcher,
     .valued =
         "-r --reporter -x --exclude -n --include -e --extension --reports-dir --report-dir -o "
         "--temp-directory --temp-dir -t --cwd --src --lines --functions --branches --statements --config "
         "-c --nycrc-path --require -i --resolve --cache-dir --parser-plugins --extends",
     .isScript = true},
});

constexpr std::string_view valuedOfShells = "-o -O --rcfile --init-file";

constexpr auto others = std::to_array<GoBetween>({
    {.names = "sh bash dash ash zsh ksh mksh",
     .sort = shell,
     .valued = valuedOfShells,
     .code = "-s",
     .text = "-c"},
    {.names = "fish",
     .sort = shell,
     .valued = "-d --debug -f --features -o --debug-output --profile",
     .code = "-C --init-command",
     .text = "-c --command"},
    {.names = "chrome chromium chromium-browser chrome-wrapper google-chrome google-chrome-stable "
              "google-chrome-beta google-chrome-unstable google-chrome-canary google-chrome-for-testing "
              "chrome_crashpad_handler headless_shell chrome-headless-shell msedge msedge-beta msedge-dev "
              "microsoft-edge microsoft-edge-stable microsoft-edge-beta microsoft-edge-dev "
              "brave brave-browser brave-browser-stable vivaldi vivaldi-bin vivaldi-stable opera "
              "firefox firefox-bin firefox-esr firefox-beta firefox-nightly firefox-developer-edition",
     .sort = browser},
});

template <size_t size>
const GoBetween* findIn(const std::array<GoBetween, size>& rows, std::string_view name) {
    const auto row = std::ranges::find_if(
        rows, [name](const auto& each) { return CommandWords::isListed(each.names, name); });
    return row != rows.end() ? &*row : nullptr;
}

const GoBetween* findByName(std::string_view name) {
    const GoBetween* found = findIn(interpreters, name);
    found = found != nullptr ? found : findIn(packageRunners, name);
    found = found != nullptr ? found : findIn(pythonRunners, name);
    found = found != nullptr ? found : findIn(launchers, name);
    return found != nullptr ? found : findIn(others, name);
}

/// "google-chrome" for "Google Chrome Helper (Renderer)".
std::string nameOfBundle(std::string_view program) {
    std::string name = Text::asciiLowered(program.substr(0, program.find(" Helper")));
    std::ranges::replace(name, ' ', '-');
    return name;
}

} // namespace

const GoBetween* find(std::string_view program) {
    const bool isBrowsersBundle = program.starts_with("Google Chrome") || program.starts_with("Chromium") ||
                                  program.starts_with("Microsoft Edge");
    if (isBrowsersBundle) {
        return findIn(others, nameOfBundle(program));
    }
    const GoBetween* found = findByName(program); // some names end in a digit that is no version
    found = found != nullptr ? found : findByName(ToolNames::plainName(program));
    if (found != nullptr) {
        return found;
    }
    // Runners alone are kept as files of such versions, in projects that use them.
    found = findByName(ToolNames::plainNameOfPrerelease(program));
    return found != nullptr && found->sort == Sort::runner ? found : nullptr;
}

} // namespace VintrelCore::GoBetweens
