"""Checks with clang's thread-safety analysis that the module touches guarded fields under their locks only.

guarded_fields.py TARGETS: the folder in which CMake described the module's targets. Only the front end runs, for the
platform of mingw-w64, against libc++, whose mutexes tell the analysis what they are.
"""

import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "abi"))
import microsoft  # noqa: E402  the descriptions of the targets are the same

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


def main():
    jobs = [(target, source) for target in microsoft.read_targets(sys.argv[1]) for source in target.sources]
    with ThreadPoolExecutor(AT_ONCE) as pool:
        found = [text for text in pool.map(lambda job: findings(*job), jobs) if text]
    print("\n".join(found) if found else f"{len(jobs)} sources: every guarded field is touched under its lock")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
