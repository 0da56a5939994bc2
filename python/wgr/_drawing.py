"""Pictures by matplotlib, in colours that everybody can tell apart.

The colours are those of M. Okabe and K. Ito, "Color Universal Design" (2008); lines
differ in their dashes as well.
"""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy as np

if TYPE_CHECKING:
    from matplotlib.axes import Axes
    from matplotlib.figure import Figure

AXES = (("x", "#0072B2", "-"), ("y", "#D55E00", "--"), ("z", "#009E73", ":"))
EVENT = "#CC79A7"
OTHER = "#999999"
_MOST_POINTS = 20_000  # of a line; more cannot be seen apart


def _figure(rows: int, columns: int = 1) -> tuple[Figure, Any]:
    # Without pyplot: no window, no state that is shared.
    import io

    from matplotlib.backends.backend_agg import FigureCanvasAgg
    from matplotlib.figure import Figure

    class Picture(Figure):
        """A figure that shows itself in a notebook."""

        def _repr_png_(self) -> bytes:
            png = io.BytesIO()
            self.savefig(png, format="png")
            return png.getvalue()

    figure = Picture(figsize=(9.0, 2.4 * rows), layout="constrained")
    FigureCanvasAgg(figure)
    return figure, figure.subplots(rows, columns, squeeze=False)


def _draw_axes(axes: Axes, x: np.ndarray, values: np.ndarray, unit: str) -> None:
    step = max(1, -(-len(x) // _MOST_POINTS))
    for i, (name, colour, dashes) in enumerate(AXES):
        axes.plot(
            x[::step],
            values[::step, i],
            dashes,
            color=colour,
            label=name,
            linewidth=1.3,
        )
    axes.set_ylabel(unit)


def _add_legend(axes: Axes) -> None:
    # Above the axes, where no line is.
    axes.legend(
        loc="lower right", bbox_to_anchor=(1.0, 1.0), ncols=3, frameon=False
    )


def draw_recording(recording: Any, events: Any) -> Figure:
    figure, places = _figure(2)
    acc, gyro = places[:, 0]
    _draw_axes(acc, recording.t, recording.acc, "acceleration (m/s²)")
    _draw_axes(gyro, recording.t, recording.gyro, "angular velocity (deg/s)")
    gyro.set_xlabel("t (s)")
    for event in events or ():
        for axes in (acc, gyro):
            axes.axvline(event.t, color=EVENT, linewidth=1.2)
        acc.annotate(
            str(event.gesture),
            (event.t, 1.0),
            xycoords=("data", "axes fraction"),
            ha="center",
            va="bottom",
        )
    _add_legend(gyro)
    figure.suptitle(recording.name or "recording")
    return figure


def draw_motion(explanation: Any, motion: int) -> Figure:
    traces = explanation.traces(motion)
    about = explanation.details["motions"][motion]
    figure, places = _figure(2)
    moved, compared = places[:, 0]
    corrected = traces["corrected"]
    t = about["begin"] + np.arange(len(corrected)) / explanation.recording.rate
    if len(corrected):
        _draw_axes(moved, t, corrected, "without gravity (m/s²)")
        _add_legend(moved)
    else:
        inside = explanation.recording.between(about["begin"], about["end"])
        _draw_axes(moved, inside.t, inside.acc, "acceleration (m/s²)")
    moved.set_xlabel("t (s)")
    best = about["best_templates"][0] if about["best_templates"] else None
    end = -1 if explanation.model.gravity else None
    trace = traces["compared"][:end]
    _draw_axes(compared, np.linspace(0, 1, len(trace)), trace, "as compared")
    if traces["template"] is not None:
        template = traces["template"][:end]
        along = np.linspace(0, 1, len(template))
        for i in range(3):
            compared.plot(
                along, template[:, i], AXES[i][2], color=OTHER, linewidth=2.5, zorder=0
            )
    compared.set_xlabel("share of the motion; grey: the template that is most similar")
    title = f"motion {motion}: {about['cause']}"
    if best is not None and best["score"] is not None:
        title += f"; class {best['class']}, score {best['score']:.3f}"
        if best["threshold"] is not None:
            title += f", threshold {best['threshold']:.3f}"
    figure.suptitle(title)
    return figure
