"""How figures are printed, and what is said of them beside their limit."""
import statistics


def spread(values):
    return f"{statistics.median(values):.1f} ({min(values):.1f}–{max(values):.1f})"


def verdict(values, limit, at_least=False):
    """A limit that lies within the spread is kept or not as the machine has it."""
    if limit is None:
        return "–"
    kept = [value >= limit if at_least else value <= limit for value in values]
    return "met" if all(kept) else "depends on the moment" if any(kept) else "missed"
