"""A row of the benchmark's table, and the table."""
import dataclasses
import statistics
from typing import List, Optional


@dataclasses.dataclass
class Figure:
    name: str
    value: Optional[float]  # None: it could not be measured, and note says why
    unit: str
    reference_name: str
    reference: Optional[float]
    budget: str
    met: Optional[bool]
    samples: int
    ratio: Optional[float] = None
    note: str = ""
    values: List[float] = dataclasses.field(default_factory=list)  # all samples, in order
    references: List[float] = dataclasses.field(default_factory=list)

    @property
    def verdict(self):
        return {True: "met", False: "MISSED", None: "not measured"}[self.met]


def compared(name, values, unit, reference_name, references, most, note=""):
    """A figure whose budget is a ratio to its reference."""
    value, reference = statistics.median(values), statistics.median(references)
    ratio = value / reference
    return Figure(name, value, unit, reference_name, reference, f"ratio ≤ {most:g}", ratio <= most, len(values), ratio,
                  note, list(values), list(references))


def bounded(name, values, unit, reference_name, reference, budget, is_met, note=""):
    """A figure whose median must satisfy a condition of its own."""
    value = statistics.median(values)
    return Figure(name, value, unit, reference_name, reference, budget, is_met(value), len(values), None, note,
                  list(values))


def none_in_any(name, counts, reference_name, note=""):
    """A figure that is the worst of its samples, and must be zero."""
    return Figure(name, max(counts), "", reference_name, None, "none in any", max(counts) == 0, len(counts), None, note,
                  list(counts))


def failed(name, reason):
    return Figure(name, None, "", "", None, "", None, 0, note=reason)


def _number(value, unit):
    if value is None:
        return "-"
    digits = 0 if abs(value) >= 1000 or float(value).is_integer() else 1 if abs(value) >= 100 else 2
    return f"{value:.{digits}f} {unit}".rstrip()


def table(figures):
    """The figures as lines of text."""
    rows = [("figure", "value", "reference in the same run", "ratio", "budget", "of", "verdict")]
    for each in figures:
        reference = each.reference_name
        if each.reference is not None:
            reference = f"{_number(each.reference, each.unit)}  {each.reference_name}"
        rows.append((each.name, _number(each.value, each.unit), reference,
                     "-" if each.ratio is None else f"{each.ratio:.3f}", each.budget, str(each.samples), each.verdict))
    widths = [max(len(row[column]) for row in rows) for column in range(len(rows[0]))]
    lines = ["  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip() for row in rows]
    lines.insert(1, "  ".join("-" * width for width in widths))
    notes = [f"{each.name}: {each.note}" for each in figures if each.note]
    return lines + ([""] + notes if notes else [])
