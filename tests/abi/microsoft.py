"""Compiles the module for Microsoft's ABI, with clang on Linux; the result is looked at, never linked."""

import os
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass, field, replace
from functools import cache
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parents[1] / "scripts"))
import unchanged  # noqa: E402

AT_ONCE = 2  # compilers


class CompileError(Exception):
    """A source that does not compile, or not without a warning; the text is the compiler's."""


@dataclass(frozen=True)
class Target:
    """One target of the build, as CMake describes it: its C++ sources and what they are compiled with."""

    root: Path
    platform: Path  # folder of the platform's headers
    standard: str
    sources: list[Path] = field(default_factory=list)
    includes: list[str] = field(default_factory=list)
    defines: list[str] = field(default_factory=list)
    warnings: list[str] = field(default_factory=list)

    def moved_to(self, folder):
        """The same target in a copy of the tree."""

        def moved(path):
            path = Path(path)
            return Path(folder) / path.relative_to(self.root) if path.is_relative_to(self.root) else path

        return replace(self, root=Path(folder), sources=[moved(source) for source in self.sources],
                       includes=[str(moved(include)) for include in self.includes])

    def with_only(self, names):
        """The same target with only those of its sources that are named, from the root."""
        wanted = [self.root / name for name in names]
        return replace(self, sources=[source for source in self.sources if source in wanted])


def read_target(path):
    """Reads the description that CMake wrote."""
    values = {}
    for line in Path(path).read_text().splitlines():
        key, _, value = line.partition("=")
        values.setdefault(key, []).append(value)
    folder = Path(values["folder"][0])
    sources = [Path(os.path.normpath(folder / name)) for name in values["source"] if name.endswith(".cpp")]
    if not sources:
        raise ValueError(f"{path} names no source")
    return Target(root=Path(values["root"][0]), platform=Path(values["platform"][0]), standard=values["standard"][0],
                  sources=sources, includes=list(dict.fromkeys(filter(None, values["include"]))),
                  defines=list(filter(None, values["define"])),
                  warnings=[option for option in values["option"] if re.match(r"-W(?![lap],)", option)])


def read_targets(folder):
    """Reads every target that CMake described in the folder."""
    targets = [read_target(path) for path in sorted(Path(folder).glob("*.CXX.txt"))]
    if not targets:
        raise ValueError(f"no target is described in {folder}")
    return targets


def llvm_folder():
    """Where clang and its companions are installed."""
    resources = subprocess.run(["clang++", "-print-resource-dir"], capture_output=True, text=True, check=True).stdout
    return Path(resources.strip()).parents[2]


def llvm_tool(name):
    return str(llvm_folder() / "bin" / name)


@cache
def version():
    """clang's, and where it is."""
    return subprocess.run(["clang++", "--version"], capture_output=True, text=True, check=True).stdout


class Compiler:
    """clang for Microsoft's ABI. What it makes goes to its folder, and is not made again from the same files."""

    def __init__(self, work):
        self.work = Path(work)
        self.work.mkdir(parents=True, exist_ok=True)
        self.library = llvm_folder() / "include/c++/v1"
        self._write_library_config()

    def _write_library_config(self):
        """libc++ puts its names in std::__1, Microsoft's library puts them in std, and decorated names tell the
        difference. A copy of libc++'s configuration header with the inner namespace left out makes them the same."""
        text = (self.library / "__config").read_text()
        for name, opening in (("BEGIN", "namespace std {"), ("END", "}")):
            text, count = re.subn(rf"(#\s*define _LIBCPP_{name}_NAMESPACE_STD) .*", rf"\1 {opening}", text)
            if count != 1:
                raise ValueError(f"libc++'s __config has {count} definitions of _LIBCPP_{name}_NAMESPACE_STD, not one")
        folder = self.work / "library"
        folder.mkdir(exist_ok=True)
        (folder / "__config").write_text(text)

    def _command(self, target):
        return ["clang++", "--target=x86_64-pc-windows-msvc", f"-std=c++{target.standard}", "-nostdinc++",
                "-isystem", str(self.work / "library"), "-isystem", str(self.library),
                "-isystem", str(target.platform / "include"),
                "-fms-extensions", "-fgnuc-version=4.2.1", "-D_LIBCPP_NO_VCRUNTIME",
                "-D_LIBCPP_WCHAR_H_HAS_CONST_OVERLOADS=1", "-D_UCRT", "-D__MSVCRT_VERSION__=0xE00",
                "-include", str(HERE / "prelude.h"),
                *[f"-I{folder}" for folder in target.includes], *[f"-D{define}" for define in target.defines],
                *target.warnings, "-Wno-unknown-warning-option", "-Werror"]

    def compile(self, target, source, *dumps):
        """Compiles one source; returns the object and what the compiler dumped."""
        name = re.sub(r"\W+", "_", os.path.relpath(source, target.root))
        result = self.work / f"{name}.obj"
        dumped = result.with_suffix(".dump")
        dumping = [word for dump in dumps for word in ("-Xclang", dump)]
        command = [*self._command(target), *dumping, "-c", str(source), "-o", str(result)]

        def make():
            run = subprocess.run(command, capture_output=True, text=True, errors="replace")
            if run.returncode != 0 or run.stderr:
                raise CompileError(f"{source} does not compile for Microsoft's ABI without a warning:\n{run.stderr}")
            dumped.write_text(run.stdout)
            return True

        note = result.with_suffix(".json")
        if not result.exists() or not dumped.exists():
            note.unlink(missing_ok=True)
        unchanged.unless_passed(note, [version(), *command], [*self._command(target), "-MM", str(source)], [], make)
        return result, dumped.read_text()

    def compile_all(self, targets):
        """Compiles every source; returns the objects, and the dumps of the virtual tables."""
        jobs = [(target, source) for target in targets for source in target.sources]
        with ThreadPoolExecutor(AT_ONCE) as pool:
            done = list(pool.map(lambda job: self.compile(*job, "-fdump-vtable-layouts"), jobs))
        return [result for result, _ in done], [dump for _, dump in done]

    def dump_records(self, target):
        """The layouts of the records that the probe names."""
        return self.compile(target, HERE / "probe.cpp", "-fdump-record-layouts")[1]


def directives(objects):
    """What the objects tell the linker, as text."""
    if not objects:
        return ""
    return subprocess.run([llvm_tool("llvm-readobj"), "--coff-directives", *map(str, objects)], capture_output=True,
                          text=True, check=True).stdout


def undecorate(names):
    """What decorated names of Microsoft's stand for, by name; a C name stands for itself."""
    decorated = sorted(name for name in names if name.startswith("?"))
    if not decorated:
        return {name: name for name in names}
    run = subprocess.run([llvm_tool("llvm-undname"), "--no-calling-convention"], input="\n".join(decorated) + "\n",
                         capture_output=True, text=True, check=True)
    lines = [line for line in run.stdout.splitlines() if line]  # each name, then what it stands for
    return {name: name for name in names} | dict(zip(lines[0::2], map(_readable, lines[1::2])))


def _readable(text):
    text = re.sub(r"\b(class|struct|enum|union) ", "", text)
    return text.replace("std::basic_string<char, std::char_traits<char>, std::allocator<char>>", "std::string")
