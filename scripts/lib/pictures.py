#!/usr/bin/python3
"""Draws the pictures of the documents as SVG, light and dark: see scripts/pictures.

usage: pictures.py WGR OUTPUT_FOLDER WORK_FOLDER

Gestures are integrated from what `wgr synth` writes; the other pictures are drawn from the
report of `wgr explain` over the demo recording, read in Chromium.
"""
import csv
import html
import json
import math
import pathlib
import re
import subprocess
import sys

kAxes = "xyz"
kNames = ["swing", "raise", "twist", "push", "circle"]
kStyle = """
text { font: 13px system-ui, "DejaVu Sans", sans-serif; fill: #1b1f24; }
.soft { fill: #5b6470; } .small { font-size: 11.5px; } .head { font-weight: 600; }
.paper { fill: #fff; } .rule { stroke: #c3cad2; fill: none; } .card { fill: #f6f7f9; }
.x { stroke: #1f5fbf; } .y { stroke: #b45309; } .z { stroke: #0f766e; }
.fx { fill: #1f5fbf; } .fy { fill: #b45309; } .fz { fill: #0f766e; }
.line { fill: none; stroke-width: 1.7; stroke-linejoin: round; stroke-linecap: round; }
.ink { stroke: #1b1f24; } .fink { fill: #1b1f24; } .dash { stroke-dasharray: 3 3; }
.skin { fill: #e9d5c3; stroke: #b79c84; } .strap { fill: #57606a; } .face { fill: #1b1f24; }
.band { fill: #15803d; fill-opacity: .16; } .pre { fill: #d97706; fill-opacity: .25; }
.rest { fill: #86a7d6; } .move { fill: #8b5cf6; } .good { fill: #13773a; } .bar { fill: #9aa4af; }
@media (prefers-color-scheme: dark) {
text { fill: #e6e9ed; } .soft { fill: #a2acb8; } .paper { fill: #14171b; }
.rule { stroke: #444c56; } .card { fill: #1c2127; }
.x { stroke: #7db0ff; } .y { stroke: #f0a84b; } .z { stroke: #4fd1c0; }
.fx { fill: #7db0ff; } .fy { fill: #f0a84b; } .fz { fill: #4fd1c0; }
.ink { stroke: #e6e9ed; } .fink { fill: #e6e9ed; } .skin { fill: #5a4636; stroke: #8a705a; }
.strap { fill: #a2acb8; } .face { fill: #0b0d0f; } .band { fill: #4ade80; }
.rest { fill: #3f608f; } .move { fill: #8b6be0; } .good { fill: #4ade80; } .bar { fill: #626c77; } }
"""


class Picture:
    def __init__(self, width, height, title, description):
        self.size = width, height
        self.parts = []
        self.head = (f'<title>{html.escape(title)}</title>'
                     f'<desc>{html.escape(description)}</desc>')

    def add(self, text):
        self.parts.append(text)

    def text(self, x, y, text, kind="", anchor="start"):
        self.add(f'<text x="{x:.1f}" y="{y:.1f}" class="{kind}" text-anchor="{anchor}">'
                 f'{html.escape(text)}</text>')

    def rect(self, x, y, width, height, kind, radius=0):
        self.add(f'<rect x="{x:.1f}" y="{y:.1f}" width="{max(width, 0):.1f}" '
                 f'height="{height:.1f}" rx="{radius}" class="{kind}"/>')

    def line(self, points, kind, width=None):
        path = "M" + " ".join(f"{x:.1f},{y:.1f}" for x, y in points)
        style = f' style="stroke-width:{width}"' if width else ""
        self.add(f'<path d="{path}" class="line {kind}"{style}/>')

    def arrow(self, start, end, kind, width=2.2, head=9):
        angle = math.atan2(end[1] - start[1], end[0] - start[0])
        back = (end[0] - head * math.cos(angle), end[1] - head * math.sin(angle))
        self.line([start, back], kind, width)
        sides = [(end[0] - head * 1.25 * math.cos(angle + turn),
                  end[1] - head * 1.25 * math.sin(angle + turn)) for turn in (-.42, .42)]
        points = " ".join(f"{x:.1f},{y:.1f}" for x, y in [end, *sides])
        self.add(f'<polygon points="{points}" class="f{kind}"/>')

    def write(self, path):
        width, height = self.size
        path.write_text(
            f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" '
            f'width="{width}" height="{height}" role="img">{self.head}<style>{kStyle}</style>'
            f'<rect width="{width}" height="{height}" class="paper"/>'
            + "\n".join(self.parts) + "</svg>\n", encoding="utf-8")


class Plot:
    """A box of a picture with a range of its own."""

    def __init__(self, picture, box, x_range, y_range):
        self.picture, self.box, self.x_range, self.y_range = picture, box, x_range, y_range

    def at(self, x, y):
        left, top, width, height = self.box
        (x0, x1), (y0, y1) = self.x_range, self.y_range
        return (left + (x - x0) / (x1 - x0) * width,
                top + height - (min(max(y, y0), y1) - y0) / (y1 - y0) * height)

    def line(self, xs, ys, kind, width=None):
        self.picture.line([self.at(x, y) for x, y in zip(xs, ys)], kind, width)

    def band(self, x0, x1, kind):
        _, top, _, height = self.box
        a, b = self.at(x0, self.y_range[0])[0], self.at(x1, self.y_range[0])[0]
        self.picture.rect(a, top, b - a, height, kind)

    def level(self, y, kind="rule", label=None):
        left, _, width, _ = self.box
        height = self.at(self.x_range[0], y)[1]
        self.picture.line([(left, height), (left + width, height)], kind, 1)
        if label:
            self.picture.text(left - 5, height + 4, label, "soft small", "end")


def own_range(series, least=0.0):
    values = [value for one in series for value in one]
    low, high = min(values + [-least]), max(values + [least])
    edge = (high - low) * .08 or 1
    return low - edge, high + edge


# ---- vectors ------------------------------------------------------------------------------

def dot(a, b):
    return sum(x * y for x, y in zip(a, b))


def cross(a, b):
    return [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]]


def scaled(a, factor):
    return [x * factor for x in a]


def unit(a):
    return scaled(a, 1 / math.sqrt(dot(a, a)))


def plus(a, b):
    return [x + y for x, y in zip(a, b)]


def times(matrix, vector):
    return [dot(row, vector) for row in matrix]


def product(a, b):
    return [[sum(a[i][k] * b[k][j] for k in range(3)) for j in range(3)] for i in range(3)]


def turn(vector):
    """The rotation about a vector, by its length in radians."""
    angle = math.sqrt(dot(vector, vector))
    if angle < 1e-12:
        return [[1, 0, 0], [0, 1, 0], [0, 0, 1]]
    x, y, z = scaled(vector, 1 / angle)
    c, s = math.cos(angle), math.sin(angle)
    return [[c + x * x * (1 - c), x * y * (1 - c) - z * s, x * z * (1 - c) + y * s],
            [y * x * (1 - c) + z * s, c + y * y * (1 - c), y * z * (1 - c) - x * s],
            [z * x * (1 - c) - y * s, z * y * (1 - c) + x * s, c + z * z * (1 - c)]]


def mean(vectors):
    return [sum(v[k] for v in vectors) / len(vectors) for k in range(3)]


# ---- the pictures --------------------------------------------------------------------------

def draw_axes(folder):
    picture = Picture(820, 460, "The watch's axes on both wrists",
                      "Seen from above, palm down: on the left wrist x points to the fingers, y to "
                      "the little finger's side and z out of the face; on the right wrist x points "
                      "to the elbow, y to the little finger's side and z out of the face.")
    for middle, side, mirror in ((205, "left", 1), (615, "right", -1)):
        picture.text(middle, 28, f"{side} wrist, seen from above, palm down", "head", "middle")
        # The arm of the left wrist; the right one is its mirror image.
        picture.add(f'<g transform="translate({middle} 0) scale({mirror} 1)">'
                    '<path class="skin" d="M-38,385 L-30,250 C-34,220 -48,205 -50,170 L-50,118 '
                    'C-50,106 -37,106 -36,118 L-34,150 L-32,84 C-31,72 -17,72 -16,84 L-15,148 '
                    'L-11,70 C-10,58 4,58 5,70 L6,148 L12,78 C14,66 28,68 27,80 L26,160 '
                    'C30,180 34,182 42,172 L60,150 C70,140 82,148 76,160 L52,206 '
                    'C42,226 32,232 31,250 L38,385 Z"/>'
                    '</g>')
        picture.rect(middle - 34, 262, 68, 42, "strap", 8)
        picture.rect(middle - 27, 252, 54, 62, "face", 10)
        centre = (middle, 283)
        out = mirror  # +1: x to the fingers
        tip_x = (middle, 283 - out * 95)
        tip_y = (middle - mirror * 105, 283)
        picture.arrow(centre, tip_x, "x", 3, 11)
        picture.arrow(centre, tip_y, "y", 3, 11)
        picture.add(f'<circle cx="{middle}" cy="283" r="9" class="paper"/>'
                    f'<circle cx="{middle}" cy="283" r="9" class="line z" style="stroke-width:3"/>'
                    f'<circle cx="{middle}" cy="283" r="3" class="fz"/>')
        picture.text(tip_x[0] + 12, tip_x[1] + (4 if out > 0 else 8), "x", "head fx")
        picture.text(tip_y[0] - mirror * 10, tip_y[1] + 4, "y", "head fy",
                     "end" if mirror > 0 else "start")
        picture.text(middle + mirror * 42, 287, "z", "head fz",
                     "start" if mirror > 0 else "end")
        words = ("x  to the fingers" if out > 0 else "x  to the elbow",
                 "y  to the little finger's side", "z  out of the face")
        for row, (word, axis) in enumerate(zip(words, kAxes)):
            picture.text(middle - 80, 410 + 20 * row, word, f"f{axis}")
    picture.write(folder / "axes.svg")


def read_recording(path):
    with open(path, encoding="utf-8") as file:
        rows = [[float(value) for value in row] for row in list(csv.reader(file))[1:]]
    return [row[0] for row in rows], [row[1:4] for row in rows], [row[4:7] for row in rows]


def path_of(acc, gyro, still, first, last, rate):
    """Positions (m; right, forward, up) and attitudes of the wrist from sample first to last.

    Gravity and bias are those of the samples `still`, at rest."""
    gravity, bias = mean(acc[still]), mean(gyro[still])
    up = unit(gravity)
    forward = unit(plus([1, 0, 0], scaled(up, -up[0])))
    attitude = [scaled(cross(up, forward), -1), forward, up]
    dt = 1 / rate
    to_si = 9.80665 / math.sqrt(dot(gravity, gravity))
    attitudes, accelerations = [], []
    for k in range(first, last):
        middle = scaled(plus(gyro[k - 1], gyro[k]), .5)
        attitude = product(attitude, turn(scaled(plus(middle, scaled(bias, -1)),
                                                 math.pi / 180 * dt)))
        attitudes.append(attitude)
        accelerations.append(plus(scaled(times(attitude, acc[k]), to_si), [0, 0, -9.80665]))
    return without_drift(accelerations, dt), attitudes


def without_drift(accelerations, dt):
    """Positions, of a motion that begins and ends at rest and in the same place."""
    count = len(accelerations)
    speeds, speed = [], [0, 0, 0]
    for a in accelerations:
        speed = plus(speed, scaled(a, dt))
        speeds.append(speed)
    speeds = [plus(v, scaled(speeds[-1], -(k + 1) / count)) for k, v in enumerate(speeds)]
    missed = scaled([sum(v[axis] for v in speeds) for axis in range(3)], 1 / count)
    positions, position = [], [0, 0, 0]
    for k, v in enumerate(speeds):
        share = (k + .5) / count
        v = plus(v, scaled(missed, -6 * share * (1 - share)))
        position = plus(position, scaled(v, dt))
        positions.append(position)
    return positions


def seen(point):
    """From behind the left arm and a little above: right, and up, with depth aslant."""
    right, forward, up = point
    return right + .42 * forward, up + .32 * forward


def draw_gesture_path(picture, left, top, size, positions, attitudes):
    bars = []
    for position, attitude in zip(positions, attitudes):
        little_finger = scaled([row[1] for row in attitude], .035)
        bars.append([seen(plus(position, scaled(little_finger, s))) for s in (-1, 1)])
    path = [seen(p) for p in positions]
    xs = [p[0] for bar in bars for p in bar] + [p[0] for p in path]
    ys = [p[1] for bar in bars for p in bar] + [p[1] for p in path]
    span = max(max(xs) - min(xs), max(ys) - min(ys), .16)
    scale = size / span
    mid = (min(xs) + max(xs)) / 2, (min(ys) + max(ys)) / 2

    def place(point):
        return (left + size / 2 + (point[0] - mid[0]) * scale,
                top + size / 2 - (point[1] - mid[1]) * scale)
    for bar in bars[::10]:
        picture.line([place(p) for p in bar], "y", 1.1)
    picture.line([place(p) for p in path[::3]], "ink", 2.2)
    # An arrow where it is fastest, and a dot where it starts.
    steps = [math.dist(a, b) for a, b in zip(path, path[12:])]
    for part in (0, 1):
        half = range(part * len(steps) // 2, (part + 1) * len(steps) // 2)
        k = max(half, key=lambda i: steps[i])
        if steps[k] > .012:
            picture.arrow(place(path[k]), place(path[k + 12]), "ink", 2.2, 8)
    x, y = place(path[0])
    picture.add(f'<circle cx="{x:.1f}" cy="{y:.1f}" r="4.5" class="good"/>')
    picture.line([(left + size - .1 * scale, top + size + 16), (left + size, top + size + 16)],
                 "ink", 2)
    picture.text(left + size - .1 * scale - 6, top + size + 20, "10 cm", "soft small", "end")


def draw_gestures(wgr, folder, work):
    rate, gap = 200, 6
    script = work / "gestures.script.csv"
    script.write_text("t_start,t_end,what\n" + "".join(
        f"{2 + gap * i}.000,{3.1 + gap * i:.3f},{name}\n" for i, name in enumerate(kNames))
        + "33.000,34.000,swing\n", encoding="utf-8")
    recording = work / "gestures.csv"
    subprocess.run([wgr, "synth", "--script", script, "--person", "3", "--style", "calm",
                    "--sample-rate", str(rate), "-o", recording], check=True, stderr=subprocess.DEVNULL)
    t, acc, gyro = read_recording(recording)
    column = 196
    picture = Picture(5 * column + 30, 500, "The five gestures",
                      "The path of the wrist, and what accelerometer and gyroscope measure, for "
                      "swing, raise, twist, push and circle of the left wrist.")
    for i, name in enumerate(kNames):
        left = 40 + column * i
        begin, end = 2 + gap * i, 3.1 + gap * i
        first, last = int((begin - .2) * rate), int((end + .3) * rate)
        still = slice(int((begin - 1) * rate), first)
        picture.text(left + 76, 26, f"{i}  {name}", "head", "middle")
        draw_gesture_path(picture, left, 48, 152, *path_of(acc, gyro, still, first, last, rate))
        shown = range(int((begin - .4) * rate), int((end + .5) * rate), 3)
        times_shown = [t[k] - begin for k in shown]
        for row, (samples, limit) in enumerate(((acc, 32), (gyro, 480))):
            box = (left, 262 + 108 * row, 152, 92)
            plot = Plot(picture, box, (times_shown[0], times_shown[-1]), (-limit, limit))
            plot.level(0)
            for k, axis in enumerate(kAxes):
                plot.line(times_shown, [samples[n][k] for n in shown], axis)
            if i == 0:
                for value in (-limit / 2, 0, limit / 2):
                    picture.text(left - 6, plot.at(0, value)[1] + 4, f"{value:.0f}",
                                 "soft small", "end")
        picture.text(left, 480, "0", "soft small", "middle")
        picture.text(left + 152, 480, f"{times_shown[-1]:.1f} s", "soft small", "end")
    picture.text(40, 254, "acceleration, m/s²", "soft small")
    picture.text(40, 364, "angular velocity, deg/s", "soft small")
    for k, axis in enumerate(kAxes):
        picture.text(210 + 24 * k, 254, axis, f"head small f{axis}")
    picture.write(folder / "gestures.svg")


def read_report(wgr, work):
    """What the report of the demo recording holds, as its own scripts read it."""
    report = work / "demo.html"
    subprocess.run([wgr, "explain", "--models", "models", "--expect",
                    "recordings/demo.labels.csv", "--report", report, "recordings/demo.csv"],
                   check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    page = re.sub(r"<meta[^>]*Content-Security-Policy[^>]*>", "",
                  report.read_text(encoding="utf-8"), flags=re.I)
    page = page.replace("</body>", """<script>setTimeout(() => {
        const {samples: s, data: {explanation: e}} = window.report;
        const all = {motions: e.motions, traces: e.motions.map((m, i) => s.trace(i)),
                     runs: s.runs};
        document.body.innerHTML = '<pre id=dump></pre>';
        document.querySelector('#dump').textContent = JSON.stringify(all,
            (key, value) => ArrayBuffer.isView(value) ? [...value] : value);
      }, 500)</script></body>""")
    report.write_text(page, encoding="utf-8")
    done = subprocess.run(["chromium", "--headless", "--no-sandbox", "--disable-gpu",
                           "--virtual-time-budget=5000", "--dump-dom", report.as_uri()],
                          check=True, capture_output=True, text=True)
    found = re.search(r'<pre id="dump">(.*?)</pre>', done.stdout, re.S)
    return json.loads(html.unescape(found.group(1)))


def draw_stream(picture, box, report, t, acc, gyro, begin, end, motion):
    left, top, width, height = box
    shown = [k for k, s in enumerate(t) if begin <= s <= end]
    half = (height - 20) / 2
    for row, (samples, name) in enumerate(((acc, "acceleration, m/s²"),
                                           (gyro, "angular velocity, deg/s"))):
        series = [[samples[k][axis] for k in shown] for axis in range(3)]
        plot = Plot(picture, (left, top + row * (half + 20), width, half), (begin, end),
                    own_range(series))
        first = motion["first_sample"]
        plot.band(t[first], t[first + motion["preroll"]], "pre")
        plot.band(t[first + motion["preroll"]], t[first + motion["collected"]
                                                  - motion["trimmed"]], "band")
        plot.band(t[first + motion["collected"] - motion["trimmed"]],
                  t[first + motion["collected"]], "pre")
        plot.level(0, label="0")
        for axis, values in zip(kAxes, series):
            plot.line([t[k] for k in shown], values, axis, 1.5)
        picture.text(left + 4, top + row * (half + 20) + 13, name, "soft small")


def draw_motion(report, folder):
    t, acc, gyro = read_recording("recordings/demo.csv")
    number = next(i for i, m in enumerate(report["motions"]) if m["reported"] == 4)
    motion, trace = report["motions"][number], report["traces"][number]
    picture = Picture(1000, 560, "From the stream to a class",
                      "One motion of the demo recording: segmented out of the stream, rotated and "
                      "freed of gravity, its active stretch compared with a template, and the "
                      "scores of the five classes against their thresholds.")
    picture.text(40, 26, "1  Segment: the wrist rests, moves, rests", "head")
    draw_stream(picture, (40, 40, 930, 206), report, t, acc, gyro, 14.2, 17.4, motion)
    first = motion["first_sample"]
    marks = Plot(picture, (40, 40, 930, 206), (14.2, 17.4), (0, 1))
    for time, text, anchor in ((t[first], "pre-roll", "end"),
                               (t[first + motion["collected"]], "trimmed; recognised here",
                                "start")):
        x = marks.at(time, 0)[0]
        picture.text(x + (-6 if anchor == "end" else 6), 56, text, "soft small", anchor)
    for k, axis in enumerate(kAxes):
        picture.text(930 + 16 * k, 26, axis, f"head small f{axis}")
    top, height, width = 300, 190, 205
    lefts = [40 + 245 * k for k in range(4)]
    heads = ("2  Rotate, subtract gravity", "3  Keep the active stretch",
             "4  Compare with templates", "5  Decide")
    for left, head in zip(lefts, heads):
        picture.text(left, top - 14, head, "head")
    span = trace["t"][0], trace["t"][-1]
    plot = Plot(picture, (lefts[0], top, width, height), span, own_range(trace["corrected"]))
    plot.level(0, label="0")
    for axis, values in zip(kAxes, trace["corrected"]):
        plot.line(trace["t"], values, axis)
    picture.text(lefts[0], top + height + 20, "m/s², in the motion's mean frame", "soft small")

    plot = Plot(picture, (lefts[1], top, width, height), span, (0, max(trace["speed"]) * 1.08))
    plot.band(*trace["active"], "band")
    plot.level(motion["fast_from"], "ink dash")
    plot.line(trace["t"][1:], trace["speed"], "ink")
    picture.text(lefts[1] + 4, plot.at(span[0], motion["fast_from"])[1] - 5,
                 "fast from here", "soft small")
    picture.text(lefts[1], top + height + 20,
                 f"speed, m/s; strength {motion['strength']:.1f} m/s²", "soft small")

    part = height / 3
    span = trace["compared_t"][0], trace["compared_t"][-1]
    for k, axis in enumerate(kAxes):
        series = [trace["compared"][k], trace["template"][k]]
        plot = Plot(picture, (lefts[2], top + k * part, width, part - 8), span, own_range(series))
        plot.line(trace["compared_t"], series[0], axis)
        plot.line(trace["compared_t"], series[1], "ink dash", 1.3)
        picture.text(lefts[2] - 5, top + k * part + part / 2, axis, f"small head f{axis}", "end")
    best = motion["best_templates"][0]
    picture.text(lefts[2], top + height + 20,
                 f"dashed: template {best['template']}, along the warping path", "soft small")

    shown = motion["best_templates"]
    low = 1.15 * min(min(one["score"], one["threshold"]) for one in shown)
    plot = Plot(picture, (lefts[3] + 95, top, width - 100, height), (low, 0), (0, 1))
    for row, one in enumerate(shown):
        y = top + (row + .5) * height / len(shown)
        picture.line([(plot.at(low, 0)[0], y), (plot.at(0, 0)[0], y)], "rule", 1)
        limit = plot.at(one["threshold"], 0)[0]
        picture.line([(limit, y - 10), (limit, y + 10)], "ink", 2)
        kind = "good" if one is best and one["score"] > one["threshold"] else "bar"
        x = plot.at(one["score"], 0)[0]
        picture.add(f'<circle cx="{x:.1f}" cy="{y:.1f}" r="6" class="{kind}"/>')
        picture.text(lefts[3] + 88, y + 4, f"{one['template']}  {kNames[one['class']]}",
                     "head small" if one is best else "soft small", "end")
    picture.text(plot.at(low, 0)[0], top + height + 20, f"{low:.2f}", "soft small", "middle")
    picture.text(plot.at(0, 0)[0], top + height + 20, "0", "soft small", "middle")
    picture.text(lefts[3] + 30, top + height + 38, "score; | its class's threshold", "soft small")
    picture.text(40, 548, f"recordings/demo.csv, {motion['begin']:.2f} s: "
                 + motion["sentence"], "soft small")
    picture.write(folder / "motion.svg")


def rest_strip(picture, plot, top, height, runs, end, is_on, kind):
    """Rectangles where `is_on` holds of the judgement."""
    for k, (begin, judged) in enumerate(zip(runs["t"], runs["judged"])):
        stop = runs["t"][k + 1] if k + 1 < len(runs["t"]) else end
        low, high = max(begin, plot.x_range[0]), min(stop, plot.x_range[1])
        if high > low and is_on(judged):
            a, b = plot.at(low, 0)[0], plot.at(high, 0)[0]
            picture.rect(a, top, b - a, height, kind)


def draw_rest(report, folder):
    kAcc, kGyro, kBoth = 2, 3, 4
    t, acc, gyro = read_recording("recordings/demo.csv")
    begin, end = 7.6, 17.4
    shown = [k for k, s in enumerate(t) if begin <= s <= end]
    times_shown = [t[k] for k in shown]
    picture = Picture(1000, 440, "Rest and motion",
                      "The length of both sensors' vectors, when each sensor rests, and when the "
                      "wrist moves: while neither sensor rests.")
    left, width = 170, 810
    lengths = [math.sqrt(dot(acc[k], acc[k])) for k in shown]
    plot = Plot(picture, (left, 24, width, 130), (begin, end), (4, 20))
    a, b = plot.at(begin, 10.49)[1], plot.at(begin, 9.90)[1]
    picture.rect(left, a, width, b - a, "band")
    plot.line(times_shown, lengths, "x", 1.4)
    for value in (5, 10, 15):
        picture.text(left - 6, plot.at(begin, value)[1] + 4, str(value), "soft small", "end")
    picture.text(10, 40, "|acceleration|", "head small")
    picture.text(10, 56, "m/s²; shaded:", "soft small")
    picture.text(10, 71, "9.90 to 10.49", "soft small")
    plot = Plot(picture, (left, 166, width, 90), (begin, end), (0, 500))
    plot.line(times_shown, [math.sqrt(dot(gyro[k], gyro[k])) for k in shown], "z", 1.4)
    for value in (0, 200, 400):
        picture.text(left - 6, plot.at(begin, value)[1] + 4, str(value), "soft small", "end")
    picture.text(10, 182, "|angular velocity|", "head small")
    picture.text(10, 198, "deg/s", "soft small")
    rows = (("accelerometer rests", lambda j: j in (kAcc, kBoth), "rest"),
            ("gyroscope rests", lambda j: j in (kGyro, kBoth), "rest"),
            ("the wrist moves", lambda j: j == 0, "move"))
    for row, (name, is_on, kind) in enumerate(rows):
        top = 270 + 28 * row
        picture.rect(left, top, width, 20, "card")
        rest_strip(picture, plot, top, 20, report["runs"], t[-1], is_on, kind)
        picture.text(left - 8, top + 15, name, "small", "end")
    for motion in report["motions"]:
        if begin < motion["judged"] < end:
            x = plot.at(motion["judged"], 0)[0]
            if motion["reported"] is not None:
                picture.text(x, 372, "▲", "good", "middle")
                picture.text(x, 388, kNames[motion["reported"]], "small", "middle")
    picture.text(left - 8, 378, "reported", "small", "end")
    for second in range(math.ceil(begin), math.floor(end) + 1):
        picture.text(plot.at(second, 0)[0], 412, f"{second} s", "soft small", "middle")
    picture.text(left, 432, "After a report all histories start afresh: until the rest window is "
                 "full again, the wrist counts as resting.", "soft small")
    picture.write(folder / "rest-and-motion.svg")


def main(wgr, folder, work):
    folder, work = pathlib.Path(folder), pathlib.Path(work)
    draw_axes(folder)
    draw_gestures(wgr, folder, work)
    report = read_report(wgr, work)
    draw_motion(report, folder)
    draw_rest(report, folder)


main(*sys.argv[1:])
