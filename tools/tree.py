"""What the checks share: the project's own files, and how a breach is told."""
import os
import sys

sys.dont_write_bytecode = True

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

# Every folder that holds code, in the order of the house.
FOLDERS = ["src", "standins", "plugin-sdk", "plugins", "java", "tests", "bench", "fuzz"]
NATIVE = (".h", ".hpp", ".cpp", ".c")


def files(folders, endings):
    """Paths, relative to the project's root, of the files with those endings. Generated ones lie under build/."""
    for folder in folders:
        for path, inner, names in os.walk(os.path.join(ROOT, folder)):
            inner.sort()
            for name in sorted(names):
                if name.endswith(endings):
                    yield os.path.relpath(os.path.join(path, name), ROOT)


def text_of(path):
    with open(os.path.join(ROOT, path), encoding="utf-8") as file:
        return file.read()


def without_comments(text):
    """C++ or Java with comments and the contents of string literals blanked; line numbers stay."""
    out, i, end = [], 0, len(text)
    while i < end:
        two = text[i:i + 2]
        if two == "//":
            stop = text.find("\n", i)
            i = end if stop < 0 else stop
        elif two == "/*":
            stop = text.find("*/", i + 2)
            stop = end if stop < 0 else stop + 2
            out.append("\n" * text.count("\n", i, stop))
            i = stop
        elif two == 'R"':
            bracket = text.index("(", i)
            close = ")" + text[i + 2:bracket] + '"'
            stop = text.index(close, bracket) + len(close)
            out.append('""' + "\n" * text.count("\n", i, stop))
            i = stop
        elif text[i] == '"' or (text[i] == "'" and not text[i - 1:i].isalnum()):
            stop = i + 1
            while stop < end and text[stop] != text[i] and text[stop] != "\n":
                stop += 2 if text[stop] == "\\" else 1
            out.append(text[i] * 2)
            i = stop + 1
        else:
            out.append(text[i])
            i += 1
    return "".join(out)


def report(what, breaches):
    """Prints the breaches and what was looked at; the exit code."""
    for breach in breaches:
        print(breach)
    print(f"{what}, {len(breaches)} {'breach' if len(breaches) == 1 else 'breaches'}")
    return 1 if breaches else 0
