"""A scheduler and workers as processes of this machine, which can be killed."""

import contextlib
import os
import subprocess
import sys
import tempfile
import time

from distributed import Client


class Workers:
    """A client, and worker processes that are not started again by themselves."""

    def __init__(self, folder):
        self._folder = folder
        self._processes = []
        self._file = os.path.join(folder, "scheduler.json")
        self._environment = {
            **os.environ,
            "DASK_DISTRIBUTED__SCHEDULER__WORKER_TTL": "20s",
            "DASK_DISTRIBUTED__COMM__RETRY__COUNT": "1",
            "OMP_NUM_THREADS": "1",
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
                            "--host", "127.0.0.1", "--local-directory", self._folder)
            )
        alive = sum(worker.poll() is None for worker in self.workers)
        self.client.wait_for_workers(alive, timeout=60)

    def kill_one(self):
        worker = next(w for w in self.workers if w.poll() is None)
        worker.kill()
        worker.wait()

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
