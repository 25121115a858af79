import csv
import os
import pathlib
import subprocess
import sys
from typing import Callable, List, Tuple

import pytest

ROOT = pathlib.Path(__file__).parents[2]


@pytest.fixture
def samples() -> pathlib.Path:
    return ROOT / "samples"


@pytest.fixture(scope="session")
def corpus() -> List[Tuple[str, bytes]]:
    """Type and octets of all real messages, good and bad, but for those as long as messages can be."""
    csv.field_size_limit(sys.maxsize)
    found = []
    for path in sorted((ROOT / "tests/corpus/data").glob("ts*.tsv")):
        with open(path, newline="") as file:
            for row in csv.DictReader(file, delimiter="\t", quoting=csv.QUOTE_NONE):
                if len(row["hex"]) < 10000:
                    found.append((row["form"], bytes.fromhex(row["hex"])))
    return found


@pytest.fixture
def program() -> Callable[..., List[str]]:
    """Runs the program and gives its lines."""
    path = os.environ.get("VELNOR3GPP_PROGRAM", "velnor3gpp")

    def run(*words: object, text: str = "") -> List[str]:
        done = subprocess.run([path, *map(str, words)], input=text, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        return done.stdout.splitlines()

    try:
        run("version")
    except FileNotFoundError:
        pytest.skip("the program is not built")
    return run
