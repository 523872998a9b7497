# SPDX-License-Identifier: MIT
"""Compiles and runs COBOL programs with the libraries of a build."""

import os
import pathlib
import subprocess
import sys

TOP = pathlib.Path(__file__).resolve().parents[2]


class Build:
    """compiler: cobc or scripts/cobc-i386; libraries: where those of the build are; bits:
    32 or 64; folder: where programs go; preload: the run-time of the sanitizers, which the
    libraries of their build need first, or ""."""

    def __init__(self, compiler, libraries, bits, folder, preload=""):
        self.compiler, self.libraries, self.bits = compiler, libraries, int(bits)
        self.folder, self.preload = pathlib.Path(folder), preload
        self.folder.mkdir(parents=True, exist_ok=True)

    def compile(self, source, static=True):
        """The program of a source; without `static` it finds the libraries when it runs."""
        program = self.folder / (source.stem if static else source.stem + "_dynamic")
        command = [self.compiler, "-x", "-free", "-Wall", "-Werror", "-I", TOP / "examples", "-o", program, source]
        if static:
            command += ["-fstatic-call", f"-L{self.libraries}", "-lwbfsi2", "-lwbhost", "-lexpat"]
        subprocess.run(command, check=True)
        # An ELF header has the class in its fifth byte: 1 for 32 bits, 2 for 64.
        if program.read_bytes()[:5] != b"\x7fELF" + bytes([self.bits // 32]):
            sys.exit(f"{program} is no program of {self.bits} bits")
        return program

    def run(self, program, *arguments, static=True, stdin=b"", settings=()):
        """(exit code, standard output, error output), run in the folder of the programs.  Leaks
        are not looked for: the run-time of COBOL ends with memory in hand."""
        environment = {key: os.environ[key] for key in ("PATH", "HOME", "TMPDIR") if key in os.environ}
        environment.update(LC_ALL="C", LD_LIBRARY_PATH=self.libraries, **dict(settings))
        if not static:
            environment.update(COB_LIBRARY_PATH=self.libraries, COB_PRE_LOAD="libwbhost:libwbfsi2")
        if self.preload:
            environment.update(LD_PRELOAD=self.preload, ASAN_OPTIONS="detect_leaks=0")
        done = subprocess.run([program, *arguments], cwd=self.folder, env=environment, input=stdin,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
        return done.returncode, done.stdout, done.stderr

    def peak_kilobytes(self, program, *arguments):
        """The most memory that one run took."""
        child = os.fork()
        if child == 0:
            os.chdir(self.folder)
            with open(os.devnull, "wb") as nothing:
                os.dup2(nothing.fileno(), 1)
            os.execve(program, [str(program), *arguments], {"LD_LIBRARY_PATH": self.libraries})
        _, status, usage = os.wait4(child, 0)
        if status != 0:
            sys.exit(f"{program} {' '.join(arguments)} ended with {status}")
        return usage.ru_maxrss
