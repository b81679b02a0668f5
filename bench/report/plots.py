"""The pictures of the report: SVG whose text is text, the same to the byte for the same results."""

import json
import pathlib

import matplotlib

matplotlib.use("svg")

import matplotlib.pyplot as plt
import matplotlib.textpath as textpath
import matplotlib.ticker as ticker

import results as measured
import tables

MET, NOT_MET, SHOWN = "#1b7f79", "#d0561f", "#8793a8"
INK, GRID, PAPER = "#26292e", "#d9d9d2", "#fcfcf9"
OWN_LINES = ["#1b7f79", "#4c5fb0", "#6a9a2d", "#0f4f4b"]
PEER_LINES = ["#d0561f", "#8793a8", "#b0892f", "#9b4f96"]
WIDTH = 9.2
ROW = 0.225
LABEL = 8
# Of each program the summary has the first comparisons that have a goal; the overview has more, and all that miss it.
SUMMARY_ROWS = 2
OVERVIEW_ROWS = 4
# More than these in one picture are not looked at; the bars tell the same.
MOST_PANELS = 12

matplotlib.rcParams.update({
    "svg.hashsalt": "libORVA", "svg.fonttype": "none", "font.family": "DejaVu Sans", "font.size": 9,
    "text.color": INK, "axes.labelcolor": INK, "axes.edgecolor": GRID, "xtick.color": INK, "ytick.color": INK,
    "figure.facecolor": PAPER, "axes.facecolor": PAPER, "savefig.facecolor": PAPER,
    "axes.spines.top": False, "axes.spines.right": False, "axes.axisbelow": True,
})


def save(figure, path, caption):
    figure.text(0.012, 0.10 / figure.get_figheight(), caption, fontsize=7, color=INK, va="bottom")
    figure.savefig(path, format="svg", metadata={"Date": None, "Creator": None})
    plt.close(figure)


def room_for(labels):
    """The share of a picture's width that the longest label takes."""
    return (max(textpath.TextPath((0, 0), text, size=LABEL).get_extents().width for text in labels) + 14) / 72 / WIDTH


def color(comparison):
    return {None: SHOWN, True: MET, False: NOT_MET}[comparison.met]


def ratio_bars(path, groups, title, caption):
    """Bars of ratios, one row each, under the names of their groups: a list of (name, comparisons)."""
    rows = []
    for name, comparisons in groups:
        if len(groups) > 1:
            rows.append((name, None))
        rows += [(comparison.goal.title, comparison) for comparison in comparisons]
    height = ROW * len(rows) + 1.25
    figure, axes = plt.subplots(figsize=(WIDTH, height))
    figure.subplots_adjust(left=min(0.7, room_for(text for text, _ in rows)), right=0.94,
                           top=1 - 0.62 / height, bottom=0.60 / height)
    axes.set_xscale("log")
    shown = [comparison for _, comparison in rows if comparison]
    ends = [1.0] + [comparison.ratio for comparison in shown] + [c.goal.limit for c in shown if c.goal.limit]
    axes.set_xlim(min(ends) / 1.2, max(ends) * 1.2)
    axes.set_ylim(len(rows) - 0.4, -0.6)
    for row, (_, comparison) in enumerate(rows):
        if comparison is None:
            continue
        axes.barh(row, comparison.ratio - 1, left=1, height=0.66, color=color(comparison))
        axes.annotate(tables.three_digits(comparison.ratio), (1, row), xycoords=("axes fraction", "data"),
                      xytext=(34, 0), textcoords="offset points", ha="right", va="center", fontsize=LABEL)
        if comparison.goal.limit is not None:
            axes.plot([comparison.goal.limit] * 2, [row - 0.42, row + 0.42], color=INK, linewidth=1.6)
    axes.axvline(1, color=INK, linewidth=0.8)
    axes.set_yticks(range(len(rows)))
    for label, (_, comparison) in zip(axes.set_yticklabels([text for text, _ in rows], fontsize=LABEL), rows):
        label.set_fontweight("normal" if comparison else "bold")
    axes.tick_params(axis="y", length=0)
    axes.grid(axis="x", which="major", color=GRID, linewidth=0.8)
    least, most = axes.get_xlim()
    axes.xaxis.set_major_locator(ticker.LogLocator(subs=(1, 2, 5) if most < 200 * least else (1,)))
    axes.xaxis.set_major_formatter(ticker.FuncFormatter(lambda value, _: f"{value:g}"))
    axes.xaxis.set_minor_locator(ticker.NullLocator())
    figure.suptitle(title, x=0.012, y=1 - 0.14 / height, ha="left", va="top", fontsize=11, fontweight="bold")
    figure.text(0.012, 1 - 0.46 / height, "time of the library : time of the peer, log scale; left of 1 is faster. "
                "Upright mark: the goal. Green: met, orange: not met, grey: only shown.",
                fontsize=7.5, va="center")
    save(figure, path, caption)


def chosen(programs, rows, with_missed):
    """Of each program the first comparisons with a goal, and those that miss it if that is asked for."""
    groups = []
    for program in programs:
        judged = [comparison for comparison in program.judged() if not comparison.missing]
        first = judged[:rows]
        groups.append((program.name, [c for c in judged if c in first or (with_missed and not c.met)]))
    return [group for group in groups if group[1]]


def overviews(directory, programs, caption):
    """The picture of what misses its goal and of what stands beside it, and a short one. Returns their names by kind."""
    judged = sum(len(program.judged()) for program in programs)
    met = sum(len(program.met()) for program in programs)
    if judged == 0:
        return {}
    title = f"libORVA beside its peers: {met} of {judged} goals are met"
    ratio_bars(f"{directory}/overview.svg", chosen(programs, OVERVIEW_ROWS, True), title, caption)
    ratio_bars(f"{directory}/summary.svg", chosen(programs, SUMMARY_ROWS, False), title, caption)
    return {"overview": ["overview.svg"], "summary": ["summary.svg"]}


def room_for_legend(series):
    return max(0.4, 0.95 - room_for(label for label, *_ in series))


def lines(axes, series):
    """Lines of (label, own, points): the library's are whole and strong, those of peers dashed."""
    own_colors, peer_colors = iter(OWN_LINES * 9), iter(PEER_LINES * 9)
    for label, own, points in series:
        axes.plot([x for x, _ in points], [y for _, y in points], marker="o", markersize=3.5, label=label,
                  color=next(own_colors if own else peer_colors), linewidth=2.0 if own else 1.3,
                  linestyle="-" if own else "--")
    axes.set_xscale("log")
    axes.grid(which="major", color=GRID, linewidth=0.8)
    axes.legend(loc="center left", bbox_to_anchor=(1.01, 0.5), frameon=False, fontsize=LABEL)


def plain_numbers(axis):
    axis.set_major_formatter(ticker.FuncFormatter(lambda value, _: f"{value:,.10g}"))
    axis.set_minor_formatter(ticker.NullFormatter())


def sweeps(path, program, caption):
    """Time over size, a panel for each group of series that are compared."""
    groups = program.sweeps()
    if not 0 < len(groups) <= MOST_PANELS:
        return False
    height = 2.5 * len(groups) + 0.8
    figure, panels = plt.subplots(len(groups), 1, figsize=(WIDTH, height), squeeze=False)
    figure.subplots_adjust(left=0.09, right=room_for_legend(sum(groups, [])), top=1 - 0.45 / height,
                           bottom=0.75 / height, hspace=0.42)
    for axes, group in zip(panels[:, 0], groups):
        lines(axes, [(name, own, points) for name, own, _, points in group])
        sizes = sorted({size for _, _, _, points in group for size, _ in points})
        axes.xaxis.set_major_locator(ticker.FixedLocator(sizes))
        axes.xaxis.set_minor_locator(ticker.NullLocator())
        plain_numbers(axes.xaxis)
        times = [time for _, _, _, points in group for _, time in points]
        if max(times) > 20 * min(times):
            axes.set_yscale("log")
        axes.yaxis.set_major_formatter(ticker.FuncFormatter(lambda value, _: tables.time_text(value)))
        axes.set_xlabel(group[0][2] or "size", fontsize=LABEL, labelpad=2)
    figure.suptitle(f"{program.name}: time over {groups[0][0][2] or 'size'}", x=0.012, y=1 - 0.12 / height,
                    ha="left", va="top", fontsize=11, fontweight="bold")
    save(figure, path, caption)
    return True


def scale_line(series):
    """The label, whether it is the library's own, and the points. A series of a peer says whose it is."""
    peer = series.get("peer") or (series["kind"] if series.get("kind", "libORVA") != "libORVA" else None)
    return f"{series['name']}, {peer}" if peer else series["name"], not peer, sorted(map(tuple, series["points"]))


def scale(directory, source):
    """A picture for each unit of scale.json. Returns their names; none if there is no such file."""
    path = pathlib.Path(source)
    if not path.is_file():
        return []
    try:
        content = json.loads(path.read_text(encoding="utf-8"))
        units = {}
        for series in content["series"]:
            if series["points"]:
                units.setdefault(series["unit"], []).append(scale_line(series))
        caption = "; ".join([content.get("machine", tables.NOT_KNOWN), tables.day(content.get("date"))])
        return [scale_picture(directory, unit, chosen, caption) for unit, chosen in units.items()]
    except (ValueError, KeyError, TypeError) as error:
        raise measured.Mistake(f"{path}: not as bench/scale.cpp writes it ({error})") from None


def scale_picture(directory, unit, chosen, caption):
    figure, axes = plt.subplots(figsize=(WIDTH, 3.6))
    figure.subplots_adjust(left=0.10, right=room_for_legend(chosen), top=0.93, bottom=0.20)
    lines(axes, chosen)
    values = [value for _, _, points in chosen for _, value in points]
    if min(values) > 0 and max(values) > 50 * min(values):
        axes.set_yscale("log")
    else:
        axes.set_ylim(bottom=min(0, min(values)))
    plain_numbers(axes.xaxis)
    plain_numbers(axes.yaxis)
    axes.set_ylabel(unit)
    axes.set_xlabel("number of strings", fontsize=LABEL)
    name = "scale_" + "".join(c if c.isalnum() else "_" for c in unit) + ".svg"
    save(figure, f"{directory}/{name}", caption)
    return name


def draw(directory, programs, scale_source):
    """Draws all pictures. Returns their names, by program."""
    pictures = overviews(directory, programs, tables.caption(programs))
    for program in programs:
        caption = tables.caption([program])
        shown = [comparison for comparison in program.comparisons if not comparison.missing]
        names = pictures.setdefault(program.name, [])
        if len(shown) > 1:
            ratio_bars(f"{directory}/{program.name}.svg", [(program.name, shown)], program.name, caption)
            names.append(f"{program.name}.svg")
        if sweeps(f"{directory}/{program.name}_sizes.svg", program, caption):
            names.append(f"{program.name}_sizes.svg")
    pictures["scale"] = scale(directory, scale_source)
    return pictures
