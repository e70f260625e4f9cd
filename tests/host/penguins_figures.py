#!/usr/bin/env python3
"""Figures of examples/data/penguins.csv, worked out by SQLite through Python's sqlite3 module.

They stand in penguins_figures.csv, where the tests of the program's statistics and calculated variables read them:
of each column, of some of its values, and of expressions in the program's language, each beside what it is in SQL.

    penguins_figures.py TABLE                prints the figures of the table
    penguins_figures.py TABLE FIGURES.csv    compares, and exits with 1 where a figure differs

Exits with 77 where Python has no sqlite3.
"""

import csv
import itertools
import math
import sys

try:
    import sqlite3
except ImportError:
    sys.exit(77)

TEXTS = ["Species", "Island", "Sex"]
NUMBERS = ["Beak Length (mm)", "Beak Depth (mm)", "Flipper Length (mm)", "Body Mass (g)"]

# In the program's language, and in SQL.
EXPRESSIONS = [
    ("[Body Mass (g)] / [Flipper Length (mm)]", '"Body Mass (g)" / "Flipper Length (mm)"'),
    (
        'if(Sex == "FEMALE", [Body Mass (g)] * 0.95, [Body Mass (g)])',
        """CASE WHEN Sex = 'FEMALE' THEN "Body Mass (g)" * 0.95 ELSE "Body Mass (g)" END""",
    ),
    (
        '([Beak Length (mm)] - 40) * [Beak Depth (mm)] > 50 and Species != "Gentoo"',
        """("Beak Length (mm)" - 40) * "Beak Depth (mm)" > 50 AND Species <> 'Gentoo'""",
    ),
    ("coalesce([Body Mass (g)], 1000) / 8", 'coalesce("Body Mass (g)", 1000) / 8'),
    (
        "max([Beak Length (mm)] / 2, [Beak Depth (mm)], 18.5)",
        'max("Beak Length (mm)" / 2, "Beak Depth (mm)", 18.5)',
    ),
    ("abs([Flipper Length (mm)] - 200)", 'abs("Flipper Length (mm)" - 200)'),
]


def load(path):
    database = sqlite3.connect(":memory:")
    columns = [f'"{name}" TEXT' for name in TEXTS] + [f'"{name}" REAL' for name in NUMBERS]
    database.execute(f"CREATE TABLE penguins ({', '.join(columns)})")
    names = TEXTS + NUMBERS
    insert = "INSERT INTO penguins VALUES (" + ", ".join(f":{i}" for i in range(len(names))) + ")"
    with open(path, encoding="utf-8", newline="") as table:
        for row in csv.DictReader(table):
            cells = [row[name] for name in TEXTS] + [row[name] or None for name in NUMBERS]
            database.execute(insert, {str(i): cell for i, cell in enumerate(cells)})
    return database


def figures(database):
    """Rows of: variable, expression, figure, of which value, number."""

    def ask(what, sql):
        return database.execute(f"SELECT {what} FROM (SELECT {sql} AS x FROM penguins)").fetchone()

    def column(name, expression, sql, hasNumbers):
        names = ["values", "missing", "distinct"] + (["minimum", "maximum", "mean"] if hasNumbers else [])
        asked = "count(x), count(*) - count(x), count(DISTINCT x), min(x), max(x), avg(x)"
        for figure, number in zip(names, ask(asked, sql)):
            yield name, expression, figure, "", repr(number)

    for name in TEXTS:
        yield from column(name, "", f"nullif(\"{name}\", '')", False)
        groups = f'SELECT "{name}", count(*) FROM penguins WHERE "{name}" <> \'\' GROUP BY 1 ORDER BY 1'
        for value, cases in database.execute(groups).fetchall():
            yield name, "", "cases", value, repr(cases)
    for name in NUMBERS:
        yield from column(name, "", f'"{name}"', True)
    for value in (190.0, 231.0, 172.0):
        number = database.execute('SELECT count(*) FROM penguins WHERE "Flipper Length (mm)" = ?', [value]).fetchone()
        yield "Flipper Length (mm)", "", "cases", f"{value:g}", repr(number[0])
    for expression, sql in EXPRESSIONS:
        yield from column("", expression, sql, True)


def is_same(row, other):
    """Versions of SQLite round the last digit of a mean differently."""
    if row[:-1] != other[:-1]:
        return False
    return row[-1] == other[-1] or math.isclose(float(row[-1]), float(other[-1]), rel_tol=1e-14)


def differences(before, now):
    for was, is_now in itertools.zip_longest(before, now, fillvalue=[]):
        if not was or not is_now or not is_same(was, is_now):
            yield f"{was}\n  SQLite gives {is_now}"


def main(table, kept=None):
    now = [["variable", "expression", "figure", "of", "number"]] + [list(row) for row in figures(load(table))]
    if kept is None:
        csv.writer(sys.stdout, lineterminator="\n").writerows(now)
        return 0
    with open(kept, encoding="utf-8", newline="") as file:
        found = list(differences(csv.reader(file), now))
    for difference in found:
        print(difference, file=sys.stderr)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
