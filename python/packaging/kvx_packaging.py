# SPDX-License-Identifier: MIT
"""What pip calls for `pip install .` (PEP 517): CMake builds and installs the module, whose files become a wheel (PEP 427).

Needs nothing but Python. CMake is steered by its own variables of the environment: CMAKE_PREFIX_PATH names where the
libraries are installed, CMAKE_GENERATOR, CXX and CXXFLAGS do what they do everywhere.
"""

import base64
import hashlib
import os
import subprocess
import sys
import sysconfig
import tarfile
import tempfile
import zipfile
from email.parser import Parser
from pathlib import Path

SOURCE = Path(__file__).resolve().parent.parent


def _cmake(*arguments):
    subprocess.run(["cmake", *map(str, arguments)], check=True)


def _configure(build):
    """Configures the build; what it knows of the module, METADATA, and the name of the distribution."""
    _cmake("-S", SOURCE, "-B", build, f"-DPython3_EXECUTABLE={sys.executable}", "-DKVX_PYTHON_INSTALL_DIR=.")
    metadata = (build / "METADATA").read_text(encoding="utf-8")
    head = Parser().parsestr(metadata)
    return metadata, f"{head['Name']}-{head['Version']}"


def _tag():
    """Which Python, and which machine, an extension is for."""
    python = f"cp{sys.version_info.major}{sys.version_info.minor}"
    return f"{python}-{python}-" + sysconfig.get_platform().replace("-", "_").replace(".", "_")


def _wheel_text():
    return f"Wheel-Version: 1.0\nGenerator: kvx_packaging\nRoot-Is-Purelib: false\nTag: {_tag()}\n"


def _pack(folder, wheel, record):
    """All files of a folder, and the list of them with their sums as the last one. The same files give the same bytes."""
    lines = []
    with zipfile.ZipFile(wheel, "w", zipfile.ZIP_DEFLATED) as archive:
        for path in sorted(each for each in folder.rglob("*") if each.is_file()):
            name, content = path.relative_to(folder).as_posix(), path.read_bytes()
            entry = zipfile.ZipInfo(name)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = (0o100755 if path.suffix == ".so" else 0o100644) << 16
            archive.writestr(entry, content)
            digest = base64.urlsafe_b64encode(hashlib.sha256(content).digest()).decode().rstrip("=")
            lines.append(f"{name},sha256={digest},{len(content)}\n")
        archive.writestr(zipfile.ZipInfo(record), "".join(lines) + f"{record},,\n")


def prepare_metadata_for_build_wheel(metadata_directory, config_settings=None):
    with tempfile.TemporaryDirectory() as build:
        metadata, distribution = _configure(Path(build))
    folder = Path(metadata_directory, f"{distribution}.dist-info")
    folder.mkdir()
    (folder / "METADATA").write_text(metadata, encoding="utf-8")
    (folder / "WHEEL").write_text(_wheel_text(), encoding="utf-8")
    return folder.name


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    with tempfile.TemporaryDirectory() as work:
        build, folder = Path(work, "build"), Path(work, "files")
        _, distribution = _configure(build)
        _cmake("--build", build, "--parallel", os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL") or os.cpu_count() or 1)
        _cmake("--install", build, "--prefix", folder, "--component", "python", "--strip")
        (folder / f"{distribution}.dist-info" / "WHEEL").write_text(_wheel_text(), encoding="utf-8")
        name = f"{distribution}-{_tag()}.whl"
        _pack(folder, Path(wheel_directory, name), f"{distribution}.dist-info/RECORD")
    return name


def build_sdist(sdist_directory, config_settings=None):
    with tempfile.TemporaryDirectory() as work:
        build = Path(work, "build")
        _, distribution = _configure(build)
        with tarfile.open(Path(sdist_directory, f"{distribution}.tar.gz"), "w:gz", format=tarfile.PAX_FORMAT) as archive:
            archive.add(build / "METADATA", f"{distribution}/PKG-INFO")
            archive.add(SOURCE, distribution, filter=lambda each: None if "__pycache__" in each.name else each)
    return f"{distribution}.tar.gz"
