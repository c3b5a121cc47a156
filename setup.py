"""Builds the two shared libraries with CMake and puts them into the package.

The libraries are built in the source tree's build/ folder (the one `make`
uses; an existing configuration is reused and only the two library targets
are built), then copied into the package beside its modules, where the
binding looks first.
"""
import pathlib
import shutil
import subprocess

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py

ROOT = pathlib.Path(__file__).resolve().parent
CMAKE_BUILD = ROOT / "build"
LIBRARIES = ("libfennel_dsp.so", "libfennel_host.so")


def build_libraries():
    if not (CMAKE_BUILD / "CMakeCache.txt").exists():
        subprocess.run(["cmake", "-S", str(ROOT), "-B", str(CMAKE_BUILD), "-DCMAKE_BUILD_TYPE=Release",
                        "-DFENNEL_DSP_BUILD_TESTS=OFF", "-DFENNEL_DSP_BUILD_BENCH=OFF",
                        "-DFENNEL_DSP_BUILD_WINDOWS_TESTS=OFF", "-DFENNEL_DSP_BUILD_EXAMPLES=OFF"],
                       check=True)
    subprocess.run(["cmake", "--build", str(CMAKE_BUILD), "--target", "fennel_dsp", "fennel_host",
                    "-j2"], check=True)
    # The binding's compiled call path, where Python's headers are installed
    # (the binding falls back to ctypes without it).
    subprocess.run(["cmake", "--build", str(CMAKE_BUILD), "--target", "fennel_py_fast", "-j2"],
                   check=False, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return [CMAKE_BUILD / "lib" / name for name in LIBRARIES] + sorted((CMAKE_BUILD / "lib").glob("_fast*.so"))


class BuildWithLibraries(build_py):
    def run(self):
        super().run()
        target = pathlib.Path(self.build_lib) / "fennel_dsp"
        target.mkdir(parents=True, exist_ok=True)
        for library in build_libraries():
            # The versioned file itself, under the name the binding loads.
            shutil.copyfile(library.resolve(), target / library.name)


class BinaryDistribution(Distribution):
    """The wheel holds shared objects: tag it for this platform."""

    def has_ext_modules(self):
        return True


setup(cmdclass={"build_py": BuildWithLibraries}, distclass=BinaryDistribution,
      options={"build": {"build_base": "build-python"}, "egg_info": {"egg_base": "build-python"}})
