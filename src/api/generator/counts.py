"""How much of the table is built, by group and generation."""

COLUMNS = (("C", "unsuffixed"), ("C", "700"), ("C", "730"), ("C", "800"), ("Fortran", None))
TITLES = ("unsuffixed", "_700", "_730", "_800", "Fortran", "all")


def cell(forms):
    return f"{sum(form.built for form in forms)}/{len(forms)}" if forms else "-"


def line(title, forms):
    columns = [[form for form in forms if form.language == language and generation in (None, form.generation)]
               for language, generation in COLUMNS]
    return [title, *(cell(column) for column in [*columns, forms])]


def text(table):
    lines = [["built/total", *TITLES]]
    for group in table.groups:
        forms = [form for row in table.rows if row.group == group for form in row.forms + row.fortran_forms]
        lines.append(line(group, forms))
    lines.append(line("all", table.forms))
    widths = [max(len(row[column]) for row in lines) for column in range(len(lines[0]))]
    return "\n".join("  ".join(text.ljust(width) if not column else text.rjust(width)
                               for column, (text, width) in enumerate(zip(row, widths))).rstrip() for row in lines)
