"""What the checks share: the project's files, C++ text without what misleads a scanner, and the report."""

import os
import re
import subprocess
import sys
from pathlib import Path

# Set while git runs a hook: they lead to another repository than the folder's own.
POINTERS = {"GIT_DIR", "GIT_WORK_TREE", "GIT_INDEX_FILE"}
LEFT_OUT = {"build", "node_modules"}  # where there is no git to ask

# Raw strings, comments, strings, characters, names, numbers: longest meaning first. Numbers, because in 1'000 the
# apostrophe opens nothing.
TOKENS = re.compile(
    r'(?P<raw>(?:u8|[uUL])?R"(?P<mark>[^()\\\s]{0,16})\(.*?\)(?P=mark)")'
    r"|(?P<comment>//(?:\\\r?\n|[^\n])*|/\*.*?\*/)"
    r'|(?P<string>(?:u8|[uUL])?"(?:\\.|[^"\\\n])*")'
    r"|(?P<character>(?:u8|[uUL])?'(?:\\.|[^'\\\n])+')"
    r"|[A-Za-z_]\w*"
    r"|\.?\d(?:'?[\w.]|(?<=[eEpP])[+-])*",
    re.DOTALL,
)


def environment_for_git():
    return {name: value for name, value in os.environ.items() if name not in POINTERS}


def project_files(root, endings):
    """Paths below root of the files that are the project's own, by git's word where it has one."""
    listed = subprocess.run(
        ["git", "-C", str(root), "ls-files", "-z", "-co", "--exclude-standard"],
        capture_output=True, text=True, check=False, env=environment_for_git())
    if listed.returncode == 0:
        names = listed.stdout.split("\0")
    else:
        names = [str(path.relative_to(root)) for path in Path(root).rglob("*")
                 if not LEFT_OUT.intersection(path.relative_to(root).parts)]
    return sorted({name for name in names if name.endswith(tuple(endings)) and (Path(root) / name).is_file()})


def read(root, name):
    return (Path(root) / name).read_text(encoding="utf-8", errors="replace")


def without_comments(text):
    """Comments become spaces, so that lines and columns stay where they are."""
    return TOKENS.sub(lambda token: _spaces(token[0]) if token["comment"] else token[0], text)


def code_only(text):
    """As before, and strings lose their content and preprocessor lines vanish."""
    def plain(token):
        if token["raw"] or token["string"]:
            return '"' + _spaces(token[0][1:-1]) + '"'
        if token["comment"] or token["character"]:
            return _spaces(token[0], "0" if token["character"] else " ")
        return token[0]

    return re.sub(r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", lambda line: _spaces(line[0]), TOKENS.sub(plain, text),
                  flags=re.MULTILINE)


def _spaces(text, filler=" "):
    return re.sub(r"[^\n]", filler, text)


def line_of(text, position):
    return text.count("\n", 0, position) + 1


def includes(text):
    """Line number, name and whether it stands in quotes, for each #include."""
    pattern = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(?:"([^"\n]+)"|<([^>\n]+)>)', re.MULTILINE)
    plain = without_comments(text)
    for found in pattern.finditer(plain):
        yield line_of(plain, found.start(found.lastindex)), found[1] or found[2], found[1] is not None


def report(offences):
    """Prints (file, line, what) and gives the exit status."""
    for name, line, what in sorted(set(offences)):
        print(f"{name}:{line}: {what}")
    return 1 if offences else 0


def run(check):
    """A check's main program: CHECK.py ROOT."""
    if len(sys.argv) != 2 or not Path(sys.argv[1]).is_dir():
        sys.exit(f"usage: {Path(sys.argv[0]).name} FOLDER-OF-THE-PROJECT")
    root = Path(sys.argv[1])
    if not project_files(root, (".cpp",)):
        sys.exit(f"{root} holds no source files: there is nothing to check")
    sys.exit(report(list(check(root))))
