"""Tables of the scripts here: printed in Markdown, left as JSON."""
import json
import sys


def print_table(heads, rows):
    """Columns of numbers are aligned to the right; small floats show three digits behind the point."""
    def text_of(cell):
        if isinstance(cell, float):
            return f"{cell:.3f}" if cell < 10 else f"{cell:,.1f}"
        return cell if isinstance(cell, str) else f"{cell:,}"

    texts = [[text_of(cell) for cell in row] for row in rows]
    is_number = [all(not isinstance(row[i], str) for row in rows) for i in range(len(heads))]
    widths = [max(len(row[i]) for row in [heads, *texts]) for i in range(len(heads))]

    def line(cells):
        placed = (cell.rjust(width) if right else cell.ljust(width)
                  for cell, width, right in zip(cells, widths, is_number))
        return "| " + " | ".join(placed) + " |"

    print()
    print(line(heads))
    print("|" + "|".join("-" * (width + 1) + (":" if right else "-") for width, right in zip(widths, is_number)) + "|")
    for cells in texts:
        print(line(cells))
    sys.stdout.flush()


def write_json(path, heads, rows):
    path.write_text(json.dumps([dict(zip(heads, row)) for row in rows], indent=1) + "\n")
