#!/usr/bin/env python3
"""Blocks of the journal, made from the description of the format alone.

Prints the blocks that the edits in journal_format_test.cpp are to give, as rows of journal_blocks.inc. With a file
as argument, compares it with them and exits with 1 when it differs.
"""

import struct
import sys
import zlib
from pathlib import Path

NAN = struct.unpack("<d", struct.pack("<Q", 0x7FF8000000000000))[0]


def u32(number):
    return struct.pack("<I", number)


def u64(number):
    return struct.pack("<Q", number)


def text(characters):
    content = characters.encode("utf-8")
    return u64(len(content)) + content


def value(of):
    """None is null, a float a number, a str a text, an int an unsigned integer."""
    if of is None:
        return u32(0) + u64(0)
    if isinstance(of, float):
        return u32(2) + struct.pack("<d", of)
    return u32(3) + text(of) if isinstance(of, str) else u32(1) + u64(of)


def values(*cells):
    return u64(len(cells)) + b"".join(map(value, cells))


def command(code, *fields):
    payload = b"".join(fields)
    return u64(len(payload) + 12) + u32(code) + payload


def item(code, old, new, uid, index=0):
    return command(code, value(old), value(new), u64(index), u64(uid))


def cell(old, new, record, variable):
    return command(0x2009, value(old), value(new), u64(record), u64(variable))


def variable(uid, name, column, default, nature, data_type, kind, expression="", code=0x2001):
    texts = text(name) + text("") + text(expression)
    return command(code, u64(uid), texts, values(*column), value(default), u32(nature), u32(data_type), u32(kind))


def block(*commands):
    content = b"".join(commands)
    return u64(len(content) + 12) + u32(zlib.crc32(content)) + content


BLOCKS = [
    block(item(0x1001, "", "Zoë", 0)),
    block(item(0x1002, "", "d", 0), item(0x1003, "", "/root", 0), item(0x1002, "", "e", 0)),
    block(command(0x3001, u64(2), u64(0))),
    block(variable(3, "x", [1.5], 1.5, 2, 2, 0)),
    block(variable(4, "c", [0.0], 0.0, 7, 2, 1, expression="x*2")),
    block(cell(1.5, None, 2, 3), cell(None, NAN, 2, 3)),
    block(
        item(0x2002, 2, 3, 3),
        item(0x2003, 0, 1, 3),
        command(0x8000200A, u64(3), values(NAN)),
        item(0x2004, 2, 0xFFFFFFFF, 3),
        item(0x2005, "", "what it is", 3),
        item(0x2006, "x", "y", 3),
        item(0x2007, "", "1+1", 3),
        item(0x2008, 1.5, "none", 3),
        command(0x0000200A, u64(4), values(None)),  # its "x" is gone
    ),
    block(variable(5, "Case Status", ["Active"], "Active", 0, 3, 2), item(0x3003, "Active", "Inactive", 2)),
    block(item(0x3003, "Inactive", "Active", 2), item(0x3003, "Inactive", "Inactive", 2)),
    block(cell(1, 77, 2, 1), cell(2.0, "z", 2, 3), cell(None, -0.0, 2, 4), cell("Inactive", "", 2, 5)),
    block(command(0x4001, u64(6), text("a\\b.png"), text("front"), u64(2)), command(0x3001, u64(7), u64(0))),
    block(command(0x5001, u64(8), text("*.dat"), u64(3)), item(0x5002, "*.dat", "?", 8), item(0x5003, 3, 4, 8)),
    block(command(0x6001, u64(9), text("*.png"), text("t")), item(0x6002, "*.png", "", 9), item(0x6003, "t", "u", 9)),
    block(command(0x7001, u64(10), text("G"), u64(0)), item(0x7002, "G", "", 10)),
    block(
        item(0x7003, None, "front", 10, 0),
        item(0x7003, None, "b", 10, 0),
        item(0x7003, None, "front", 10, 2),
        item(0x80007003, None, "b", 10, 0),  # no image file carries it
    ),
    block(item(0x80007003, None, "front", 10, 0)),
    block(variable(11, "w", ["p", "p"], "p", 0, 3, 0)),
    block(
        variable(11, "w", ["p", "p"], "p", 0, 3, 0, code=0x80002001),
        command(0x80007001, u64(10), text(""), u64(1), text("front")),
        command(0x80006001, u64(9), text(""), text("u")),
        command(0x80005001, u64(8), text("?"), u64(4)),
    ),
    block(
        command(0x80004001, u64(6), text("a\\b.png"), text("front"), u64(2)),
        command(0x80003002, u64(2), u64(1), u64(6), values(77, 2.0, -0.0, "")),
        command(0x80003002, u64(7), u64(0), values(78, 2.0, 0.0, "Active")),
    ),
]


def main():
    rows = "".join(f'"{content.hex()}",\n' for content in BLOCKS)
    if len(sys.argv) == 1:
        sys.stdout.write(rows)
        return 0
    return 0 if Path(sys.argv[1]).read_text(encoding="ascii") == rows else f"{sys.argv[1]} is not what the format gives"


if __name__ == "__main__":
    sys.exit(main())
