#!/usr/bin/env python3
"""Writes src/perlayer/platform/CaseTables.inc: simple case mappings of Unicode as ranges.

Only mappings from one code point to one code point are kept, so that a mapped text keeps its number
of characters. Run it from anywhere after a change of Python's Unicode version; the result is committed.
"""

import pathlib
import sys
import unicodedata

TARGET = pathlib.Path(__file__).resolve().parent.parent / "src/perlayer/platform/CaseTables.inc"


def first_single(*candidates):
    """The first candidate that is one character; None when there is none."""
    return next((text for text in candidates if len(text) == 1), None)


# Where the full mapping has several characters, the next mapping in the row is the simple one:
# the capital sharp s folds to its small letter, a small alpha with iota below rises to its title form.
MAPPINGS = {
    "kFoldRanges": lambda c: first_single(c.casefold(), c.lower()),
    "kUpperRanges": lambda c: first_single(c.upper(), c.title()),
    "kLowerRanges": lambda c: first_single(c.lower()),
}


def ranges(mapping):
    """Runs (first, last, step, delta) of neighbours at distance 1 or 2 that move by the same delta."""
    runs = []
    for code in range(sys.maxunicode + 1):
        if 0xD800 <= code <= 0xDFFF:
            continue
        mapped = mapping(chr(code))
        delta = ord(mapped) - code if mapped else 0
        if delta == 0:
            continue
        if runs:
            first, last, step, run_delta = runs[-1]
            distance = code - last
            if delta == run_delta and (distance == step or (first == last and distance <= 2)):
                runs[-1] = (first, code, distance, delta)
                continue
        runs.append((code, code, 1, delta))
    return runs


def main():
    lines = [
        f"// Simple case mappings of Unicode {unicodedata.unidata_version}: first, last, step, delta.",
        "// Written by tools/case_tables.py; do not edit.",
        "// clang-format off",
    ]
    for name, mapping in MAPPINGS.items():
        lines += ["", f"constexpr TCaseRange {name}[] = {{"]
        lines += [f"    {{0x{a:04X}, 0x{b:04X}, {step}, {delta}}}," for a, b, step, delta in ranges(mapping)]
        lines.append("};")
    lines += ["// clang-format on", ""]
    TARGET.write_text("\n".join(lines), encoding="ascii")


if __name__ == "__main__":
    main()
