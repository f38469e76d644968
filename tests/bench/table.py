"""The table of all figures."""


class Table:
    """Rows of: what, Quillo's figure, the baseline's, the ratio or bound, whether the budget holds."""

    def __init__(self):
        self.rows = []

    def ratio(self, what, figure, baseline, unit, budget, name):
        """A figure beside its baseline's of the same run."""
        ratio = figure / baseline
        self.rows.append(
            (what, number(figure, unit), f"{number(baseline, unit)} ({name})", f"{ratio:.2f}x, at most {budget}x",
             ratio <= budget)
        )

    def bound(self, what, figure, unit, budget, note=""):
        """A figure with a limit of its own."""
        self.rows.append((what, number(figure, unit), note, f"at most {budget} {unit}".rstrip(), figure <= budget))

    def figure(self, what, figure, unit, note=""):
        """A figure for orientation, which no budget names."""
        self.rows.append((what, number(figure, unit), note, "", None))

    def show(self):
        widths = [max(len(str(row[column])) for row in self.rows) for column in range(4)]
        for row in self.rows:
            cells = "  ".join(str(row[column]).ljust(widths[column]) for column in range(4))
            print(f"{ {True: 'ok', False: 'OVER', None: ''}[row[4]]:4}  {cells}".rstrip())
        verdicts = [row[4] for row in self.rows if row[4] is not None]
        print(f"{sum(verdicts)} of {len(verdicts)} budgets hold")


def number(figure, unit):
    return f"{figure:.{2 if figure >= 0.1 or figure == 0 else 3}f} {unit}".rstrip()
