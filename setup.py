"""The Python package teska: `pip install .` builds the extension teska._teska with the
project's CMake and packs it with the Python files of python/teska; the metadata is in
pyproject.toml."""

import os
import re
import shlex
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext
from setuptools.errors import ExecError

ROOT = Path(__file__).resolve().parent


def project_version():
    """The version of project() in CMakeLists.txt, the one teska.__version__ reports."""
    text = (ROOT / "CMakeLists.txt").read_text()
    match = re.search(r"^project\(\s*\w+\s+VERSION\s+([0-9][0-9.]*)", text, re.MULTILINE)
    if match is None:
        raise RuntimeError("CMakeLists.txt has no project(NAME VERSION X.Y.Z)")
    return match.group(1)


def run_logged(command, log):
    """Runs command with its output in log; on failure shows the log and stops the build."""
    with open(log, "w") as out:
        status = subprocess.run(command, stdout=out, stderr=subprocess.STDOUT).returncode
    if status != 0:
        sys.stderr.write(Path(log).read_text())
        raise ExecError(f"{shlex.join(command)} failed (exit status {status}); log: {log}")


class CMakeBuild(build_ext):
    """Configures the project without its tests, builds only the target teska_python and puts
    the extension where setuptools packs it; build_py copies the package's Python files."""

    def build_extension(self, ext):
        build = Path(self.build_temp).resolve() / "cmake"
        build.mkdir(parents=True, exist_ok=True)
        configure = [
            "cmake", "-S", str(ROOT), "-B", str(build),
            "-DCMAKE_BUILD_TYPE=Release",
            "-DCIF2PDB_TESTS=OFF",
            "-DTESKA_PYTHON=ON",
            f"-DPython3_EXECUTABLE={sys.executable}",
        ] + shlex.split(os.environ.get("CMAKE_ARGS", ""))
        jobs = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL", "2")
        compile_ = ["cmake", "--build", str(build), "--target", "teska_python", "--parallel", jobs]
        print(f"building {ext.name} with CMake in {build}", flush=True)
        run_logged(configure, build / "configure.log")
        run_logged(compile_, build / "build.log")

        built = sorted((build / "python" / "teska").glob("_teska.*"))
        if len(built) != 1:
            raise ExecError(f"expected one extension _teska.* in {build}/python/teska, found {built}")
        target = Path(self.get_ext_fullpath(ext.name))
        target.parent.mkdir(parents=True, exist_ok=True)
        self.copy_file(str(built[0]), str(target))


setup(
    version=project_version(),
    packages=["teska"],
    package_dir={"teska": "python/teska"},
    package_data={"teska": ["__init__.pyi", "py.typed"]},
    ext_modules=[Extension("teska._teska", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
    # Not build/: that is where the README's CMake build lives.
    options={"build": {"build_base": "build-pip"}},
)
