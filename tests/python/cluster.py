"""A scheduler and workers as processes of this machine, which can be killed."""

import contextlib
import os
import subprocess
import sys
import tempfile
import time

from distributed import Client


TICK = os.sysconf("SC_CLK_TCK")


def given_out(dask_scheduler):
    """How often each task of wgr.fleet was given to a worker; on the scheduler."""
    times = {}
    for key, begin, end, *_ in dask_scheduler.transition_log:
        if key.startswith("wgr-") and end == "processing":
            times[key] = times.get(key, 0) + 1
    return times


def running(dask_worker):
    """The tasks of wgr.fleet that run now; on a worker."""
    keys = dask_worker.active_threads.values()
    return [key for key in keys if key.startswith("wgr-")]


def time_of(process):
    """A process's processor time, s; None once it has ended."""
    try:
        with open(f"/proc/{process.pid}/stat") as stat:
            words = stat.read().rsplit(")", 1)[1].split()
    except FileNotFoundError:
        return None
    return (int(words[11]) + int(words[12])) / TICK


class Workers:
    """A client, and worker processes that are not started again by themselves."""

    def __init__(self, folder):
        self._folder = folder
        self._processes = []
        self._ended = {}  # processor time of killed workers
        self._file = os.path.join(folder, "scheduler.json")
        self._environment = {
            **os.environ,
            "DASK_DISTRIBUTED__SCHEDULER__WORKER_TTL": "20s",
            "DASK_DISTRIBUTED__COMM__RETRY__COUNT": "1",
            "OMP_NUM_THREADS": "1",
            # For what runs on the scheduler.
            "PYTHONPATH": os.pathsep.join(
                [os.path.dirname(__file__), os.environ.get("PYTHONPATH", "")]
            ),
        }
        self._start("distributed.cli.dask_scheduler", "--port", "0", "--no-dashboard",
                    "--host", "127.0.0.1", "--scheduler-file", self._file)
        while not os.path.exists(self._file):
            time.sleep(0.05)
        self.client = Client(scheduler_file=self._file, set_as_default=False)
        self.workers = []

    def _start(self, module, *words):
        process = subprocess.Popen(
            [sys.executable, "-m", module, *words], env=self._environment,
            cwd=self._folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
        )
        self._processes.append(process)
        return process

    def add(self, count=1):
        for _ in range(count):
            self.workers.append(
                self._start("distributed.cli.dask_worker", "--scheduler-file", self._file,
                            "--no-nanny", "--nthreads", "1", "--no-dashboard",
                            "--name", str(len(self.workers)),
                            "--host", "127.0.0.1", "--local-directory", self._folder)
            )
        alive = sum(worker.poll() is None for worker in self.workers)
        self.client.wait_for_workers(alive, timeout=60)

    def kill_one_at_work(self, timeout=60.0):
        """Kills a worker that runs a task of wgr.fleet, and returns the task."""
        until = time.monotonic() + timeout
        while time.monotonic() < until:
            for address, about in self.client.scheduler_info()["workers"].items():
                worker = self.workers[int(about["name"])]
                if worker.poll() is not None:
                    continue  # the scheduler has not noticed yet
                for key in self.client.run(running, workers=[address])[address]:
                    self._kill(worker)
                    return key
        raise TimeoutError("no worker was at work")

    def _kill(self, worker):
        self._ended[worker] = time_of(worker)
        worker.kill()
        worker.wait()

    def given_out(self):
        """How often each task of wgr.fleet was given to a worker."""
        return self.client.run_on_scheduler(given_out)

    def worker_times(self):
        """Processor time of each worker so far, of those that were killed too, s."""
        return [self._ended.get(w) or time_of(w) for w in self.workers]

    def scheduler_time(self):
        return time_of(self._processes[0])

    def close(self):
        self.client.close()
        for process in self._processes:
            process.kill()
            process.wait()


@contextlib.contextmanager
def workers(count):
    with tempfile.TemporaryDirectory() as folder:
        made = Workers(folder)
        try:
            made.add(count)
            yield made
        finally:
            made.close()
