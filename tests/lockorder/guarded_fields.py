"""Checks with clang's thread-safety analysis that the module touches guarded fields under their locks only.

guarded_fields.py TARGETS NOTES: the folder in which CMake described the module's targets, and one for notes of what needs
no second look. Only the front end runs, for the
platform of mingw-w64, against libc++, whose mutexes tell the analysis what they are.
"""

import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "abi"))
import microsoft  # noqa: E402  the descriptions of the targets are the same

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts"))
import unchanged  # noqa: E402

AT_ONCE = 2  # compilers


def command(target, source):
    return ["clang++", "--target=x86_64-w64-mingw32", "-fsyntax-only", f"-std=c++{target.standard}", "-nostdinc++",
            "-isystem", str(microsoft.llvm_folder() / "include/c++/v1"), "-isystem", str(target.platform / "include"),
            "-D_LIBCPP_ENABLE_THREAD_SAFETY_ANNOTATIONS", "-include", str(microsoft.HERE / "prelude.h"),
            *[f"-I{folder}" for folder in target.includes], *[f"-D{define}" for define in target.defines],
            "-Wthread-safety", "-Werror", str(source)]


def findings(target, source):
    """What the analysis finds in one source, as the compiler tells it; empty when all is well."""
    run = subprocess.run(command(target, source), capture_output=True, text=True, errors="replace")
    return run.stderr if run.returncode != 0 or run.stderr else ""


def new_findings(target, source, notes):
    """The same, or nothing when it is known that there are none."""
    found = []

    def finds_nothing():
        found.append(findings(target, source))
        return not found[0]

    compiler = command(target, source)
    note = Path(notes) / (str(source.relative_to(target.root)).replace("/", "_") + ".json")
    unchanged.unless_passed(note, [microsoft.version(), *compiler], [*(word for word in compiler if word != "-fsyntax-only"), "-MM"], [],
                            finds_nothing)
    return "".join(found)


def main():
    targets, notes = sys.argv[1:]
    jobs = [(target, source, notes) for target in microsoft.read_targets(targets) for source in target.sources]
    with ThreadPoolExecutor(AT_ONCE) as pool:
        found = [text for text in pool.map(lambda job: new_findings(*job), jobs) if text]
    print("\n".join(found) if found else f"{len(jobs)} sources: every guarded field is touched under its lock")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
