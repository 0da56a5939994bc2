"""Recordings: read, made of arrays and frames, written; and what goes wrong."""

import json
import pickle
import subprocess
import sys

import numpy as np
import pandas
import pytest

import wgr
from conftest import BUILD, DEMO, MODELS, ROOT, run_tool


def test_arrays_are_views_of_the_samples(demo):
    assert demo.acc.shape == demo.gyro.shape == (len(demo), 3)
    assert demo.t.dtype == demo.acc.dtype == np.float64
    for view in (demo.t, demo.acc, demo.gyro):
        assert np.shares_memory(view, demo.samples)
    assert demo.rate == 50
    assert demo.to_dataframe().columns.tolist() == "t ax ay az gx gy gz".split()


def test_arrays_and_frames_come_back_as_they_were(demo):
    for made in (
        wgr.Recording.from_arrays(demo.acc, demo.gyro, t=demo.t),
        wgr.Recording.from_dataframe(demo.to_dataframe()),
        wgr.Recording.from_dataframe(demo.to_dataframe().set_index("t")),
    ):
        np.testing.assert_array_equal(made.samples, demo.samples)
    timed = demo.to_dataframe().drop(columns="t")
    timed.index = pandas.to_datetime(1.6e9 + demo.t, unit="s")
    made = wgr.Recording.from_dataframe(timed)
    np.testing.assert_allclose(made.t, demo.t, atol=1e-6)
    counted = wgr.Recording.from_arrays(demo.acc, demo.gyro, rate=50)
    np.testing.assert_array_equal(counted.t, np.arange(len(demo)) / 50)


@pytest.mark.parametrize("name", ["out.csv", "out.csv.gz"])
def test_what_is_written_is_read_back(demo, tmp_path, name):
    part = demo.between(3.0, 7.0)
    part.write(tmp_path / name)
    np.testing.assert_array_equal(
        wgr.Recording.read(tmp_path / name).samples, part.samples
    )


def test_a_malformed_line_is_named(tmp_path):
    path = tmp_path / "bad:1.csv"
    path.write_text("t,ax,ay,az,gx,gy,gz\n0,1,2,3,4,5,6\n0.1,x,2,3,4,5,6\n")
    with pytest.raises(wgr.RecordingError) as raised:
        wgr.Recording.read(path)
    assert (raised.value.file, raised.value.line) == (str(path), 3)
    assert "ax is not a number" in str(raised.value)
    again = pickle.loads(pickle.dumps(raised.value))
    assert (str(again), again.line) == (str(raised.value), 3)
    with pytest.raises(wgr.RecordingError) as raised:
        wgr.Recording.read(tmp_path / "none.csv")
    assert (raised.value.file, raised.value.line) == (str(tmp_path / "none.csv"), None)


def test_a_torn_end_is_a_warning(tmp_path):
    path = tmp_path / "torn.csv"
    path.write_text("t,ax,ay,az,gx,gy,gz\n0,1,2,3,4,5,6\n0.1,1,2")
    with pytest.warns(wgr.WgrWarning, match="torn"):
        assert len(wgr.Recording.read(path)) == 1


def test_too_large_a_recording_is_refused():
    with pytest.raises(wgr.RecordingError):
        wgr.Recording.read(DEMO, most_bytes=1000)


def test_what_is_no_recording_is_refused(demo):
    nan = demo.acc.copy()
    nan[5, 1] = np.nan
    for arguments in (
        (demo.acc[:, :2], demo.gyro),
        (demo.acc, demo.gyro[1:]),
        (nan, demo.gyro),
    ):
        with pytest.raises(wgr.InputError):
            wgr.Recording.from_arrays(*arguments, rate=50)
    with pytest.raises(wgr.InputError, match="rate"):
        wgr.Recording.from_arrays(demo.acc, demo.gyro)
    with pytest.raises(wgr.InputError, match="gz"):
        wgr.Recording.from_dataframe(demo.to_dataframe().drop(columns="gz"))
    with pytest.raises(wgr.InputError):
        wgr.Recording(np.zeros((5, 6)))


def test_absent_axes_and_an_unknown_rate_are_said(tmp_path):
    path = tmp_path / "absent.csv"
    path.write_text("t,ax,ay,az,gx,gy,gz\n0,1,2,3,,5,6\n0,1,2,3,,5,6\n")
    recording = wgr.Recording.read(path)
    assert recording.absent_axes == "gx"
    with pytest.warns(wgr.WgrWarning, match="50 samples/s"):
        assert recording.rate == 50


def test_resampling_keeps_the_duration(demo):
    twice = demo.resampled(100)
    assert twice.rate == 100
    assert abs(twice.seconds - demo.seconds) < 0.05


def test_a_model_is_read_written_and_checked(model, tmp_path):
    path = tmp_path / "copy.xml"
    model.write(path)
    assert path.read_bytes() == open(model.path, "rb").read()
    assert wgr.Model.check(path) == []
    shown = run_tool("model", "show", "--json", path)
    assert f'"templates":{len(model.templates)}' in shown.replace(" ", "")
    again = pickle.loads(pickle.dumps(model))
    assert (again.text, again.path) == (model.text, model.path)
    with pytest.raises(wgr.InputError, match="xml"):
        model.write(tmp_path / "copy.txt")
    damaged = tmp_path / "damaged.xml"
    damaged.write_text(model.text[: len(model.text) // 2])
    assert wgr.Model.check(damaged)


@pytest.fixture(scope="module")
def capture(tmp_path_factory):
    """What the flight recorder kept of the tool as a host, strict and with a bias."""
    folder = tmp_path_factory.mktemp("captures")
    recorder = BUILD / "libwgr-recorder.so"
    if not recorder.exists():
        pytest.skip("the flight recorder is not built")
    subprocess.run(
        [ROOT / "scripts" / "private-paths", "--models", MODELS, "env",
         f"LD_PRELOAD={recorder}", "WGR_RECORDER_CONFIG=/dev/null",
         f"WGR_RECORDER_DIR={folder}", "WGR_RECORDER_KEEP=all",
         BUILD / "wgr", "replay", "--sensitivity=2", "--bias=0.5,0,0", "--mode=2", DEMO],
        check=True, capture_output=True,
    )
    return next(folder.glob("*.wgrcap"))


def test_a_capture_replays_as_its_host_ran(capture, demo):
    recording = wgr.Recording.read(capture)
    np.testing.assert_array_equal(recording.acc, demo.acc)
    assert recording.host.rate == recording.rate == 50
    assert recording.host.gyro_bias == (0.5, 0.0, 0.0)
    assert recording.host.sensitivity == 2
    made = wgr.replay(recording)  # with the model of the capture
    there = wgr.replay(demo, MODELS, mode=2, sensitivity=2, gyro_bias=(0.5, 0, 0))
    assert [e[1:] for e in made] == [e[1:] for e in there]
    assert len(made) > 0
    by_tool = json.loads(subprocess.check_output(
        [ROOT / "scripts" / "private-paths", "--models", MODELS,
         BUILD / "wgr", "explain", "--json", capture]
    ))
    assert wgr.explain(recording).details["motions"] == by_tool["motions"]
    with pytest.raises(wgr.RecordingError):
        wgr.Recording.read(capture, handle=7)


def test_the_module_needs_what_every_python_has():
    module = next((BUILD / "python" / "wgr").glob("_wgr.*.so"))
    table = subprocess.run(["readelf", "-d", module], capture_output=True, text=True)
    needed = {line.split("[")[1].split(".so")[0]
              for line in table.stdout.splitlines() if "NEEDED" in line}
    assert needed <= {"libc", "libm", "libstdc++", "libgcc_s", "libz", "ld-linux-x86-64"}


def test_importing_needs_numpy_alone():
    program = (
        f"import sys; sys.path.insert(0, {str(BUILD / 'python')!r}); import wgr; "
        "print(sorted({'pandas', 'sklearn', 'matplotlib', 'dask'} & set(sys.modules)))"
    )
    assert subprocess.check_output([sys.executable, "-c", program], text=True) == "[]\n"


def test_the_log_of_another_device_is_read_as_the_tool_imports_it(demo, tmp_path):
    log = tmp_path / "phone.csv"
    titles = "seconds_elapsed,ax (g),ay (g),az (g),gx (rad/s),gy (rad/s),gz (rad/s)"
    table = np.column_stack((demo.t, demo.acc / 9.80665, np.radians(demo.gyro)))
    np.savetxt(log, table, delimiter=",", header=titles, comments="", fmt="%.9g")
    run_tool("import", log, "-o", tmp_path / "out.csv")
    made = wgr.Recording.read(log, profile="guess")
    by_tool = wgr.Recording.read(tmp_path / "out.csv")
    np.testing.assert_array_equal(made.samples, by_tool.samples)
    np.testing.assert_allclose(made.acc, demo.acc, atol=1e-6)
    assert "rad/s" in made.imported.said
    again = wgr.Recording.read(log, profile=made.imported.profile)
    np.testing.assert_array_equal(again.samples, made.samples)
    with pytest.raises(wgr.InputError):
        wgr.Recording.read(log, profile="no such profile")
    with pytest.raises(wgr.InputError):
        wgr.Recording.read(log, profile={"units": 3})
