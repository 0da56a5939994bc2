"""Replay, explanation and examination: the same bits as the tool's."""

import base64
import json
import os
import re
import signal
import threading
import time
import zlib

import numpy as np
import pytest

import wgr
from conftest import DEMO, LABELS, MODELS, SETS, recordings_of, run_tool


def lines_of(text):
    return [json.loads(line) for line in text.splitlines()]


def assert_same_replay(path, model):
    *events, summary = lines_of(run_tool("replay", "--models", MODELS, "--json", path))
    made = wgr.replay(wgr.Recording.read(path), model)
    assert [
        {"type": "event", "t": e.t, "class": e.gesture, "strength": e.strength,
         "duration_ms": e.duration_ms}
        for e in made
    ] == events
    del summary["type"], summary["real_time_factor"], summary["absent_fields"]
    assert {key: made.summary[key] for key in summary} == summary


def test_demo_replays_to_the_events_of_the_tool(model):
    assert_same_replay(DEMO, model)


def assert_same_explanation(path, model):
    by_tool = json.loads(run_tool("explain", "--models", MODELS, "--json", path))
    assert wgr.explain(wgr.Recording.read(path), model).details == by_tool


def assert_same_examination(path):
    *findings, summary = lines_of(run_tool("doctor", "--json", path, status=(0, 1)))
    made = wgr.examine(wgr.Recording.read(path))
    assert [f._asdict() for f in made.findings] == [
        {k: f[k] for k in wgr.Finding._fields} for f in findings
    ]
    assert made.facts == {
        k: v for k, v in summary.items() if k not in ("type", "findings")
    }


@pytest.mark.filterwarnings("ignore::wgr.WgrWarning")
@pytest.mark.parametrize("name", SETS)
def test_recorded_sets_give_what_the_tool_gives(name, model):
    for path in recordings_of(name):
        assert_same_replay(path, model)
        assert_same_explanation(path, model)
        assert_same_examination(path)


def test_every_model_and_setting_replays_as_the_tool_does(demo):
    for wearer, mode, level in ((0, 0, 1), (0, 2, 3), (1, 0, -9), (1, 1, 2),
                                (1, 2, None)):
        words = ["--wearer", wearer, "--mode", mode, "--bias=0.5,-1,0.25"]
        words += [] if level is None else [f"--sensitivity={level}"]
        *events, _ = lines_of(
            run_tool("replay", "--models", MODELS, "--json", *words, DEMO)
        )
        made = wgr.replay(demo, MODELS, wearer=wearer, mode=mode, sensitivity=level,
                          gyro_bias=(0.5, -1, 0.25))
        assert [(e.t, e.gesture, e.strength, e.duration_ms) for e in made] == [
            (e["t"], e["class"], e["strength"], e["duration_ms"]) for e in events
        ]


def test_recognizer_reports_what_replay_does(demo, model):
    recognizer = wgr.Recognizer(model, rate=demo.rate)
    fed = [recognizer.feed(acc, gyro, t)
           for t, acc, gyro in zip(demo.t, demo.acc, demo.gyro)]
    assert [e for e in fed if e is not None] == list(wgr.replay(demo, model))
    assert recognizer.at_rest


def test_explanation_is_the_tool_s_object(demo, model):
    by_tool = json.loads(run_tool("explain", "--models", MODELS, "--json", "--expect",
                                  LABELS, DEMO))
    made = wgr.explain(demo, model, expect=LABELS)
    assert made.details == by_tool
    assert made.to_text() == run_tool("explain", "--models", MODELS, "--expect", LABELS,
                                      DEMO)
    frame = made.motions
    assert list(frame["cause"]) == [m["cause"] for m in by_tool["motions"]]
    assert list(frame["reported"].dropna()) == [e.gesture for e in made.events]
    assert made.headline in made._repr_html_()


def parts_of(page):
    """A page without its data, and the data without what made it."""
    shell, data = re.subn(r'(id="data">)([^<]*)', r"\1", page), ""
    packed = re.search(r'id="data">([^<]*)', page)[1]
    data = zlib.decompress(base64.b64decode(packed))
    return shell[0], re.sub(rb'"command":"[^"]*"', b"", data)


def test_page_is_the_tool_s_but_for_the_command(demo, model, tmp_path):
    run_tool("explain", "--models", MODELS, "--report", tmp_path / "tool.html", DEMO)
    made = wgr.explain(demo, model)
    made.save(tmp_path / "python.html")
    made.save(tmp_path / "again.html")
    pages = [(tmp_path / n).read_text() for n in ("tool.html", "python.html")]
    assert (tmp_path / "again.html").read_text() == pages[1]
    tool, python = map(parts_of, pages)
    assert tool[0] == python[0]
    assert tool[1][4:] == python[1][4:]
    assert len(tool[1]) > 10000


def test_examination_finds_what_the_doctor_does(tmp_path):
    demo = wgr.Recording.read(DEMO)
    faulty = wgr.Recording.from_arrays(demo.acc / 9.81, np.radians(demo.gyro), t=demo.t)
    path = tmp_path / "faulty.csv"
    faulty.write(path)
    assert_same_examination(path)
    made = wgr.examine(wgr.Recording.read(path))
    assert {"acc-unit", "gyro-unit"} <= {f.id for f in made.findings}


def test_plots_are_drawn(demo, model):
    explanation = wgr.explain(demo, model)
    reported = explanation.motions.index[explanation.motions["reported"].notna()][0]
    for figure in (demo.plot(explanation.events), explanation.plot(reported)):
        assert all(axes.lines for axes in figure.axes)
        assert figure.canvas.print_to_buffer()[1] > (100, 100)
    assert explanation.traces(reported)["template"].shape[1] == 3
    with pytest.raises(IndexError):
        explanation.plot(len(explanation.motions))


# An hour and three quarters at 50 samples/s.
@pytest.fixture(scope="module")
def long_recording(demo):
    copies = 100
    span = demo.t[-1] + 1 / demo.rate
    t = np.concatenate([demo.t + i * span for i in range(copies)])
    return wgr.Recording.from_arrays(
        np.tile(demo.acc, (copies, 1)), np.tile(demo.gyro, (copies, 1)), t=t
    )


def test_the_interpreter_runs_on_while_a_recording_is_replayed(long_recording, model):
    done = threading.Event()
    worker = threading.Thread(
        target=lambda: (wgr.replay(long_recording, model), done.set())
    )
    worker.start()
    turns = 0
    while not done.is_set():
        turns += 1
        time.sleep(0.001)
    worker.join()
    # A call that kept the lock would let this thread have no turn at all.
    assert turns > 10


def test_an_interrupt_ends_a_replay(long_recording, model):
    begin = time.process_time()
    wgr.replay(long_recording, model)
    whole = time.process_time() - begin

    begin = time.process_time()
    interrupt = threading.Timer(0.02, os.kill, (os.getpid(), signal.SIGINT))
    interrupt.start()
    with pytest.raises(KeyboardInterrupt):
        wgr.replay(long_recording, model)
        interrupt.join()
    # Not only behind the end, where the interpreter looks for itself.
    assert time.process_time() - begin < 0.7 * whole


def test_a_missing_model_is_an_error_and_no_end(demo, tmp_path):
    with pytest.raises(wgr.InputError, match="No such file"):
        wgr.replay(demo, tmp_path / "none.xml")
    with pytest.raises(wgr.InputError, match="wearer 1, mode 2"):
        (tmp_path / "models").mkdir()
        wgr.replay(demo, tmp_path / "models", wearer=1, mode=2)
    broken = tmp_path / "broken.xml"
    broken.write_text("-5\n")
    with pytest.raises(wgr.InputError) as raised:
        wgr.Recognizer(broken)
    assert raised.value.file == str(broken)


def test_arguments_out_of_range_are_refused(demo, model):
    for arguments in ({"rate": 0}, {"sensitivity": 4}, {"gyro_bias": (1, 2)},
                      {"gyro_bias": (1, 2, np.nan)}):
        with pytest.raises(wgr.InputError):
            wgr.replay(demo, model, **arguments)
    with pytest.raises(wgr.InputError):
        wgr.replay(demo, MODELS, wearer=2)
