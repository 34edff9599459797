"""What the programs of this package share: the host's address, the user, and how a failure ends them."""
from __future__ import annotations

import argparse
import os
import shlex
import stat
import sys
import tempfile
from typing import Callable, List

from dasclient import Client, ConnectionLost, DasError, Refused

DEFAULT_SOCKET = "/run/das/das.sock"

OK, REFUSED, WRONG, INTERRUPTED = 0, 1, 2, 130


class Wrong(Exception):
    """Wrong usage or a wrong file: the text says what, why and what to do."""


def add_common_options(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("--socket", metavar="PATH",
                        help=f"the host's socket; DAS_SOCKET without it, else {DEFAULT_SOCKET}")
    parser.add_argument("--context", choices=("base", "visitor"),
                        help="whose data; the current user's without it")


def parse(parser: argparse.ArgumentParser) -> argparse.Namespace:
    """The options of the command line, unless a shell asks what may come next on one."""
    if sys.argv[1:2] == ["--complete"] and len(sys.argv) == 3:
        print(*candidates(parser, sys.argv[2]), sep="\n")
        sys.exit(OK)
    return parser.parse_args()


def candidates(parser: argparse.ArgumentParser, line: str) -> List[str]:
    """What may come next after @p line, a command line up to the cursor with the program's name: words,
    each with a tab and its help if it has one. ":files" asks the shell for names of files."""
    try:
        words = shlex.split(line)
    except ValueError:
        return []
    current = "" if line[-1:].isspace() or not words else words.pop()
    actions = parser._actions  # argparse has no public list of what a parser knows
    options = {name: action for action in actions for name in action.option_strings}
    places = [action for action in actions if not action.option_strings]
    name, equals, _ = current.partition("=")
    takes_value = [word in options and options[word].nargs != 0 for word in words]
    typed = [word for word, is_value in zip(words[1:], takes_value) if word[:1] != "-" and not is_value]
    if equals and name in options:
        found = [word if word[0] == ":" else f"{name}={word}" for word in _values(options[name])]
    elif takes_value and takes_value[-1]:
        found = _values(options[words[-1]])
    elif current.startswith("-") or len(typed) >= len(places):
        found = [f"{each}\t{action.help}" for each, action in options.items() if each.startswith("--")]
    else:
        found = _values(places[len(typed)])
    return [word for word in found if word.startswith((current, ":"))]


def _values(action: argparse.Action) -> List[str]:
    return [str(choice) for choice in action.choices] if action.choices else [":files"]


def connect(options: argparse.Namespace) -> Client:
    path = options.socket or os.environ.get("DAS_SOCKET") or DEFAULT_SOCKET
    try:
        return Client(path, timeout=300)
    except ConnectionLost as error:
        raise Wrong(f"no host answers: {error}; start one by das serve, or name its socket with "
                    "--socket") from error


def write_file(path: str, content: bytes) -> None:
    """Writes the whole file or leaves the old one. "-" is standard output; a device or a pipe is
    written as it is."""
    try:
        if path == "-":
            sys.stdout.buffer.write(content)
            sys.stdout.flush()
        elif os.path.exists(path) and not stat.S_ISREG(os.stat(path).st_mode):
            with open(path, "wb") as file:
                file.write(content)
        elif _is_database(path):
            raise Wrong(f"cannot write {path}: it is a database; name another file")
        else:
            _replace_file(os.path.realpath(path), content)
    except OSError as error:
        raise Wrong(f"cannot write {path}: {error.strerror}") from error


def _is_database(path: str) -> bool:
    """A host may have it open."""
    magic = b"SQLite format 3"
    try:
        with open(path, "rb") as file:
            return file.read(len(magic)) == magic
    except OSError:
        return False


def _replace_file(path: str, content: bytes) -> None:
    """Contacts and calls are private: a new file is its owner's alone."""
    descriptor, temporary = tempfile.mkstemp(dir=os.path.dirname(path), prefix=".das-")
    try:
        with os.fdopen(descriptor, "wb") as file:
            if os.path.exists(path):
                os.fchmod(descriptor, stat.S_IMODE(os.stat(path).st_mode))
            file.write(content)
            file.flush()
            os.fsync(descriptor)
        os.replace(temporary, path)
    except BaseException:
        os.unlink(temporary)
        raise


def run(program: str, work: Callable[[], int]) -> int:
    """The exit status of @p work, with a line on standard error where it failed."""
    try:
        status = work()
        sys.stdout.flush()
        return status
    except Wrong as error:
        status, text = WRONG, str(error)
    except ImportError as error:
        status, text = WRONG, (f"{error}; the Debian packages python3-vobject, python3-jinja2 and "
                               "python3-pygal have what the programs need")
    except Refused as error:
        status, text = REFUSED, str(error) if error.words else f"{error}; the host's log says why"
    except ConnectionLost as error:
        status, text = WRONG, f"the host has gone: {error}; look at what it has stored, and try again"
    except DasError as error:
        status, text = REFUSED, str(error)
    except BrokenPipeError:
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        return REFUSED
    except KeyboardInterrupt:
        status, text = INTERRUPTED, "interrupted"
    print(f"{program}: {text}".replace("\n", "\\n"), file=sys.stderr)  # what was logged may hold any value
    return status
