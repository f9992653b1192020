"""The C declarations of the library for cffi, made from its public header: the C preprocessor
with empty system headers and without attributes, then the static assertions taken out. The
build runs this and ships the result; a source tree without a build runs it at import."""

import re
import subprocess
import tempfile
from pathlib import Path


def declarations(include: Path) -> str:
    """The declarations of marrows/marrows.h below `include`."""
    with tempfile.TemporaryDirectory() as empty:
        for name in ("stdint.h", "stddef.h", "stdio.h"):
            Path(empty, name).write_text("")
        text = subprocess.run(
            ["cc", "-E", "-P", "-nostdinc", "-I", empty, "-I", str(include),
             "-D__attribute__(x)=", str(Path(include, "marrows", "marrows.h"))],
            check=True, capture_output=True, text=True).stdout
    text = re.sub(r"_Static_assert\([^;]*\);", "", text)
    return "typedef struct _IO_FILE FILE;\n" + text
