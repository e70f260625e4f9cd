#!/usr/bin/python3
"""The peers that are written in Python: pandas and numexpr over the sheets that the benchmark program hands over.

    pandas_peer.py <class> <folder>

The folder holds the sheets in files "0", "1", ... (study.h has the format) and is removed when they are read. Rounds
are asked for and answered as worker.h says.
"""

import ctypes
import shutil
import sys
import time
import zlib
from pathlib import Path

import numexpr
import numpy as np
import pandas as pd
from pandas._libs.algos import ensure_platform_int, groupsort_indexer

KEYS = ["c1", "c2", "c26"]
FEW_TEXTS = [f"c{number}" for number in range(26, 36)]


def read_sheet(path):
    """A frame with a column for each of the sheet: numbers as float64, texts as objects."""
    raw = np.fromfile(path, dtype=np.uint8)
    rows, columns = raw[:16].view(np.uint64).tolist()
    first = 50 - columns
    at, series = 16, {}
    for number in range(columns):
        name = "Case ID" if number + first == 0 else f"c{number + first}"
        kind = int(raw[at : at + 8].view(np.uint64)[0])
        at += 8
        if kind == 0:
            series[name] = raw[at : at + 8 * rows].view(np.float64)
            at += 8 * rows
        else:
            length = int(raw[at : at + 8].view(np.uint64)[0])
            texts = raw[at + 8 : at + 8 + length].tobytes().decode().split("\n")[:-1]
            series[name] = np.array(texts, dtype=object)
            at += 8 + length
    return pd.DataFrame(series)


def checksum(columns):
    """The checksum of study.h over arrays, or the columns of a frame."""
    total = 0
    for number, column in enumerate(columns):
        if column.dtype == np.float64:
            values = np.asarray(column) + 0.0
            hashes = np.where(np.isnan(values), np.uint64(1), values.view(np.uint64) + np.uint64(3))
        else:
            hashes = np.fromiter((zlib.crc32(text.encode()) for text in column), np.uint64, len(column)) + np.uint64(2)
        weight = 2 * np.arange(len(column), dtype=np.uint64) + np.uint64(1)
        total += int((hashes * weight).sum(dtype=np.uint64)) * (number + 1)
    return total % 2**64


def cells_of(frame):
    return (frame[name] for name in frame.columns)


def read_again(texts):
    """The same texts as objects whose hashes are not yet known, as in a table that was just read."""
    return np.array([text.encode().decode() for text in texts], dtype=object)


def status(name):
    with open("/proc/self/status", encoding="ascii") as lines:
        return next(int(line.split()[1]) * 1024 for line in lines if line.startswith(name + ":"))


class PeakMemory:
    """The most that the process holds in a round, beyond what it held when this was made."""

    def __init__(self):
        self.trim = ctypes.CDLL(None).malloc_trim
        self.trim(0)
        self.before = status("VmRSS")

    def restart(self):
        self.trim(0)
        Path("/proc/self/clear_refs").write_text("5", encoding="ascii")

    def megabytes(self):
        return (status("VmHWM") - self.before) / 1e6


class Merge:
    """Merges, keeps what was written as arrays of rows, old and new values, and undoes it from them. The table has its
    few texts as categories; the incoming ones have some of their own, as if they had been read so, or none."""

    def __init__(self, table, incoming):
        for name in FEW_TEXTS:
            table[name] = pd.Categorical(table[name])
            if self.INCOMING_CATEGORIES:
                incoming[name] = pd.Categorical(incoming[name], pd.unique(incoming[name]))
        self.table, self.incoming = table, incoming
        self.changes = []
        self.rows = len(table)
        self.memory = None  # from before the first round

    def take_in(self):
        """The incoming frame with its few texts in the categories of the table, which get those that they lack."""
        columns = dict(self.incoming.items())
        for name in FEW_TEXTS:
            new = pd.Categorical(columns[name])
            column = self.table[name].array
            lacking = new.categories.difference(column.categories)
            if len(lacking):
                self.table[name] = column = column.add_categories(lacking)
            columns[name] = new.set_categories(column.categories)
        return pd.DataFrame(columns, copy=False)

    def overwrite(self, rows, source):
        """Writes what differs into these rows; `source` holds their new values, row by row."""
        for name in source.columns:
            column = self.table[name].array
            new = source[name].array
            old = column[rows]
            if column.dtype == np.float64:
                old, new = np.asarray(old), np.asarray(new)
                differs = (old != new) & ~(np.isnan(old) & np.isnan(new))
            elif isinstance(column, pd.Categorical):
                differs = old.codes != new.codes
            else:
                differs = np.asarray(old) != np.asarray(new)
            where = np.flatnonzero(differs)
            self.changes.append((name, rows[where], old[where], new[where]))
            column[rows[where]] = new[where]

    def read_incoming(self):
        for name in self.incoming.columns:
            if self.incoming[name].dtype == object:
                self.incoming[name] = read_again(self.incoming[name])

    def undo(self):
        if len(self.table) != self.rows:
            self.table = self.table.iloc[: self.rows].copy()
        for name, rows, old, _ in reversed(self.changes):
            self.table[name].array[rows] = old
        self.changes = []

    def round(self, report):
        self.read_incoming()
        self.memory = self.memory or PeakMemory()
        self.memory.restart()
        start = time.perf_counter()
        self.merge(self.take_in())
        report.milliseconds("merged and recorded", time.perf_counter() - start)
        report.figure("peak memory", "MB", self.memory.megabytes())
        report.check("cells", checksum(cells_of(self.table)))
        start = time.perf_counter()
        self.undo()
        report.milliseconds("undo", time.perf_counter() - start)
        report.check("cells undone", checksum(cells_of(self.table)))


class MergeById(Merge):
    INCOMING_CATEGORIES = True

    def merge(self, incoming):
        rows = pd.Index(self.table["Case ID"]).get_indexer(incoming["Case ID"])
        known = rows >= 0
        self.overwrite(rows[known], incoming if known.all() else incoming[known])


class MergeByKey(Merge):
    INCOMING_CATEGORIES = True

    def merge(self, incoming):
        table = self.table

        def numbered(frame):
            count = frame.groupby(KEYS, dropna=False, sort=False, observed=True).cumcount()
            return frame[KEYS].assign(count=count)

        rows = numbered(table).assign(row=np.arange(len(table)))
        found = numbered(incoming).merge(rows, on=KEYS + ["count"], how="left")["row"].to_numpy()
        matched = ~np.isnan(found)
        self.overwrite(found[matched].astype(np.int64), incoming[matched])
        rest = incoming[~matched]
        rest.insert(0, "Case ID", np.arange(len(table) + 1, len(table) + len(rest) + 1, dtype=np.float64))
        self.table = pd.concat([table, rest], ignore_index=True)


class MergeTextsById(MergeById):
    INCOMING_CATEGORIES = False


class MergeTextsByKey(MergeByKey):
    INCOMING_CATEGORIES = False


class Statistics:
    """The statistics of all columns of two tables in turn: the values of each, the rows of each value, one behind the
    other, where those of a value begin or end, the number of missing values and the range."""

    def __init__(self, *tables):
        self.tables = [{name: table[name].to_numpy() for name in table.columns} for table in tables]

    def round(self, report):
        table = self.tables[0]
        self.tables.reverse()
        for column in table.values():
            if column.dtype == object:
                column[::2] = read_again(column[::2])
        start = time.perf_counter()
        kept = [self.of(column) for column in table.values()]
        report.milliseconds("all columns", time.perf_counter() - start)
        total = 0
        for number, (values, _, _, missing, least_and_greatest) in enumerate(kept):
            weights = [2 * len(values) + 1, 2 * len(values) + 1, 2 * len(values) + 3]
            for value, weight in zip((missing, *least_and_greatest), weights):
                total += (int(np.float64(value + 0.0).view(np.uint64)) + 3) * (number + 1) * weight
        report.check("statistics", total % 2**64)
        self.check(report, kept)

    def check(self, report, kept):
        pass

    @staticmethod
    def of(column, sort=False):
        codes, values = pd.factorize(column, sort=sort)
        order, counts = groupsort_indexer(ensure_platform_int(codes), len(values))
        numbers = column.dtype == np.float64
        return values, order, counts.cumsum(), counts[0], (values.min(), values.max()) if numbers else ()


class SortedStatistics(Statistics):
    """Cells of many values are sorted, texts as bytes, which is several times as fast as to hash them and sort those
    that are left."""

    def check(self, report, kept):
        report.check("first values", checksum(values[:1000] for values, *_ in kept))

    @classmethod
    def of(cls, column):
        if pd.Series(column[:1000]).nunique() < 500:
            return super().of(column, sort=True)
        numbers = column.dtype == np.float64
        keys = column if numbers else np.array([text.encode() for text in column])
        order = np.argsort(keys, kind="stable")
        missing = np.count_nonzero(np.isnan(keys)) if numbers else 0
        ordered = keys[order[: len(keys) - missing]]
        begins = np.flatnonzero(np.concatenate(([True], ordered[1:] != ordered[:-1])))
        values = ordered[begins] if numbers else column[order[begins]]
        return values, order, begins, missing, (values[0], values[-1]) if numbers else ()


class Memory:
    """Tables as they are kept."""

    NAMES = (
        "a case identifier alone",
        "10 columns of numbers",
        "49 columns of numbers",
        "10 columns of texts of 20 values",
        "49 columns of texts of 20 values",
        "10 columns of texts, all different",
        "the study",
    )

    def __init__(self, *tables):
        self.tables = tables
        for table in tables:
            for name in table.columns:
                if table[name].dtype == object and table[name].nunique() == 20:
                    table[name] = table[name].astype("category")

    def round(self, report):
        for name, table in zip(self.NAMES, self.tables):
            report.figure(name, "B/cell", table.memory_usage(index=False, deep=True).sum() / table.size)


class Expressions:
    """The expressions of expressions.cpp in numexpr's language, the longest loop in one block, on one thread."""

    TEXTS = (
        "a + b",
        "(a - b) / (c + 1)",
        "d / (e / 100)**2",
        "sqrt(a*a + b*b)",
        "where(a > b, a - b, b - a)",
        "where(c > d, where(c > e, c, e), where(d > e, d, e)) - where(c < d, where(c < e, c, e), where(d < e, d, e))",
        "(a + b + c + d + e) / 5",
        "where((c > 25) & (d < 75), 1.0, 0.0)",
        "abs(a - e) * 100 / (e + 1)",
        "log(d + 1)",
    )
    LOSING_MISSING = (4, 5, 7)

    def __init__(self, sheet):
        numexpr.set_num_threads(1)
        self.columns = {name: sheet.iloc[:, k].to_numpy().copy() for k, name in enumerate("abcde")}
        self.results = np.zeros((len(self.TEXTS), len(sheet)))

    def round(self, report):
        start = time.perf_counter()
        for text, result in zip(self.TEXTS, self.results):
            numexpr.evaluate(text, self.columns, out=result)
        report.milliseconds("ten expressions", time.perf_counter() - start)
        total = 0
        for number, result in enumerate(self.results):
            if number in self.LOSING_MISSING:
                continue
            whole = np.nansum(result)
            rounded = np.round(whole / 10.0 ** (np.floor(np.log10(abs(whole))) - 8))
            total += (int((rounded + 0.0).view(np.uint64)) + 3) * (number + 1)
        report.check("sums", total % 2**64)


class Report:
    def figure(self, measure, unit, value):
        print("figure", measure, unit, repr(float(value)), sep="\t")

    def milliseconds(self, measure, seconds):
        self.figure(measure, "ms", seconds * 1e3)

    def check(self, name, value):
        print("check", name, value, sep="\t")


def main():
    kind, folder = sys.argv[1], Path(sys.argv[2])
    sheets = [read_sheet(path) for path in sorted(folder.iterdir())]
    shutil.rmtree(folder)
    peer = globals()[kind](*sheets)
    print("ready", flush=True)
    for line in sys.stdin:
        if line.strip() != "round":
            break
        peer.round(Report())
        print("done", flush=True)


if __name__ == "__main__":
    try:
        main()
    except Exception as error:  # told to who asks for rounds
        print("error", repr(error).replace("\n", " "), sep="\t", flush=True)
