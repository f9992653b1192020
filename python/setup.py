"""Build of the marrows package. The C declarations that the package hands to cffi are made from
the library's public header at build time, so that the header stays their one source. The
version is the project's, read from its CMakeLists.txt."""

import importlib.util
import os
import re
import shutil
from pathlib import Path

from setuptools import setup
from setuptools.command.build_py import build_py

HERE = Path(__file__).resolve().parent
INCLUDE = Path(os.environ.get("MARROWS_INCLUDE", HERE.parent / "include"))


def project_version() -> str:
    cmake = (HERE.parent / "CMakeLists.txt").read_text()
    match = re.search(r"project\(marrows VERSION ([0-9.]+)", cmake)
    if match is None:
        raise RuntimeError("no project version in CMakeLists.txt")
    return match.group(1)


def declarations(include: Path) -> str:
    spec = importlib.util.spec_from_file_location("_declarations",
                                                  HERE / "marrows" / "_declarations.py")
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module.declarations(include)


class BuildWithDeclarations(build_py):
    """Also ships the declarations, and with MARROWS_BUNDLE_LIBRARY=path the library itself,
    which the package then loads from beside it."""

    def run(self):
        super().run()
        package = Path(self.build_lib, "marrows")
        package.mkdir(parents=True, exist_ok=True)
        (package / "_marrows_cdef.h").write_text(declarations(INCLUDE))
        bundled = os.environ.get("MARROWS_BUNDLE_LIBRARY")
        if bundled:
            shutil.copyfile(Path(bundled).resolve(), package / "libmarrows.so")


setup(version=project_version(), cmdclass={"build_py": BuildWithDeclarations})
