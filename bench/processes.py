"""Programs that live no longer than the measurement: however it ends, none of them is left behind."""

import contextlib
import ctypes
import os
import pathlib
import pwd
import shutil
import signal
import socket
import subprocess
import sys
import time

START_SECONDS = 30
_PR_SET_PDEATHSIG = 1
_libc = ctypes.CDLL(None, use_errno=True)


def find_program(name, *places):
    """Servers lie where a user's PATH may not reach."""
    path = os.pathsep.join([os.environ.get("PATH", os.defpath), "/usr/sbin", "/sbin", *map(str, places)])
    return shutil.which(name, path=path) or sys.exit("%s is not installed" % name)


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def account(name):
    """Arguments of `spawn` that run a program as another user, for one that refuses to run as root."""
    if os.geteuid() != 0:
        return {}
    entry = pwd.getpwnam(name)
    return {"user": entry.pw_uid, "group": entry.pw_gid, "extra_groups": []}


@contextlib.contextmanager
def spawn(arguments, output, stop=signal.SIGTERM, orphaned=signal.SIGKILL, **options):
    """The running program, whose words go to the file `output`; stopped by the signal `stop`.

    The kernel sends it `orphaned` should this process die without a word: for a server with children of its own
    that is the signal on which it ends them.
    """
    parent = os.getpid()

    def die_with_parent():
        _libc.prctl(_PR_SET_PDEATHSIG, orphaned)
        if os.getppid() != parent:
            os._exit(1)

    with open(output, "wb") as file:
        process = subprocess.Popen(list(map(str, arguments)), stdin=subprocess.DEVNULL, stdout=file,
                                   stderr=subprocess.STDOUT, preexec_fn=die_with_parent, **options)
    try:
        yield process
    finally:
        if process.poll() is None:
            process.send_signal(stop)
            try:
                process.wait(60)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()


def wait_until(process, output, is_ready, pause=0.02):
    """What `is_ready` gives, as soon as that is true; the end of this program where the other one ends first."""
    # Counted, not timed: a machine that was paused meanwhile has not given the program its time.
    for _ in range(round(START_SECONDS / pause)):
        if process.poll() is not None:
            break
        if answer := is_ready():
            return answer
        time.sleep(pause)
    end = "did not start in time" if process.poll() is None else "ended with %d" % process.returncode
    sys.exit("%s %s:\n%s" % (process.args[0], end, pathlib.Path(output).read_text(errors="replace")))


def listens(port):
    with socket.socket() as probe:
        return probe.connect_ex(("127.0.0.1", port)) == 0


def memory_mb(process, field):
    """`field` is VmRSS for what the process has now, VmHWM for the most it ever had."""
    for line in pathlib.Path("/proc/%d/status" % process.pid).read_text().splitlines():
        if line.startswith(field + ":"):
            return int(line.split()[1]) * 1024 / 1e6
    raise KeyError(field)


def cpu_seconds(process):
    """Processor time of the process so far, of all its threads."""
    fields = pathlib.Path("/proc/%d/stat" % process.pid).read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")
