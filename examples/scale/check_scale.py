#!/usr/bin/env python3
"""Runs the examples of this folder on loopback and holds what they give against what went in:

    check_scale.py PROGRAM [HOW MANY LINES]

GNU parallel runs on this machine, and over ssh to this machine, with one job killed midway; Dask with a scheduler and
two workers, of which one is killed midway. Each time every line has to have one answer, in its place and with the digest
of its certificate. Needs parallel, sshd, ssh-keygen and Debian's python3-distributed.
"""
import base64
import hashlib
import json
import os
import pathlib
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent.parent / "bench"))
import bulk_lines


def check(lines, answers, what):
    """Every line once, in its order."""
    count = 0
    with open(lines, "rb") as asked:
        for line, answer in zip(asked, answers, strict=True):
            key, text = line.rstrip(b"\n").split(b"\t")
            answer = json.loads(answer)
            assert answer["key"] == key.decode(), (key, answer)
            if "error" not in answer:
                assert answer["sha256"] == hashlib.sha256(base64.b64decode(text)).hexdigest().upper(), key
            count += 1
    print(f"{what}: {count} lines, each answered once and in its place", flush=True)


def free_port():
    with socket.socket() as any_port:
        any_port.bind(("127.0.0.1", 0))
        return any_port.getsockname()[1]


def pids_below(pid):
    """The processes that a process started, and those that they did."""
    found = []
    for child in pathlib.Path("/proc").glob("[0-9]*/stat"):
        try:
            fields = child.read_text().rsplit(")", 1)[1].split()
        except OSError:
            continue
        if int(fields[1]) == pid:
            found += [int(child.parent.name), *pids_below(int(child.parent.name))]
    return found


def kill_one(pid, killed):
    """Kills the first velmora-x509 below a process."""
    for _ in range(5000):
        for each in pids_below(pid):
            try:
                is_ours = os.readlink(f"/proc/{each}/exe").endswith("velmora-x509")
                if is_ours:
                    os.kill(each, signal.SIGKILL)
                    killed.append(each)
                    return
            except OSError:
                continue
        time.sleep(0.002)


def with_parallel(lines, *logins, environment, below=None, kills=True):
    killed = []
    with tempfile.TemporaryFile() as answers:
        with subprocess.Popen([HERE / "with_parallel.sh", lines, *logins], stdout=answers, env=environment) as program:
            killer = threading.Thread(target=kill_one, args=(below or program.pid, killed), daemon=True)
            if kills:
                killer.start()
            assert program.wait() == 0, program.returncode
        assert len(killed) == kills, killed
        answers.seek(0)
        check(lines, answers, "parallel" + (" over ssh" if logins else "") + (", one job killed" if kills else ""))


def over_ssh(lines, folder, environment):
    """With an sshd and keys that live as long as this."""
    port = free_port()
    for name in ("host", "user"):
        subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", f"{folder}/{name}"], check=True)
    (folder / "authorized").write_text((folder / "user.pub").read_text())
    (folder / "sshd_config").write_text(
        f"Port {port}\nListenAddress 127.0.0.1\nHostKey {folder}/host\nPidFile none\nStrictModes no\nUsePAM no\n"
        f"AuthorizedKeysFile {folder}/authorized\nPasswordAuthentication no\nMaxStartups 100\nSetEnv PATH={environment['PATH']}\n")
    (folder / "ssh_config").write_text(
        f"Host loopback\n HostName 127.0.0.1\n Port {port}\n IdentityFile {folder}/user\n IdentitiesOnly yes\n"
        f" UserKnownHostsFile {folder}/known\n StrictHostKeyChecking no\n LogLevel ERROR\n")
    os.makedirs("/run/sshd", exist_ok=True)
    with subprocess.Popen(["/usr/sbin/sshd", "-D", "-f", str(folder / "sshd_config")], stderr=subprocess.DEVNULL) as server:
        try:
            time.sleep(1)
            by_ssh = dict(environment, PARALLEL_SSH=f"ssh -F {folder}/ssh_config")
            with_parallel(lines, "2/loopback", environment=by_ssh, below=server.pid)
        finally:
            server.terminate()


def with_dask(lines, folder, environment):
    port = free_port()
    scheduler = f"tcp://127.0.0.1:{port}"
    quiet = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL, "env": environment, "cwd": folder}
    started = [subprocess.Popen(["dask-scheduler", "--host", "127.0.0.1", "--port", str(port), "--no-dashboard"], **quiet)]
    try:
        for name in ("first", "second"):
            worker = ["dask-worker", scheduler, "--nthreads", "1", "--no-nanny", "--no-dashboard", "--name", name]
            started.append(subprocess.Popen(worker, **quiet))
        killed = []

        def kill_first_worker():
            for _ in range(5000):
                if pids_below(started[1].pid):
                    started[1].kill()
                    return killed.append(started[1].pid)
                time.sleep(0.002)

        threading.Thread(target=kill_first_worker, daemon=True).start()
        subprocess.run(["/usr/bin/python3", HERE / "with_dask.py", scheduler, lines, folder / "answers"], check=True, env=environment)
        assert killed
        parts = sorted((folder / "answers").glob("part-*.jsonl"))
        check(lines, (line for part in parts for line in open(part, "rb")), "Dask, one of two workers killed")
    finally:
        for process in started:
            process.kill()
            process.wait()


def main():
    program = pathlib.Path(sys.argv[1]).resolve()
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 50_000
    environment = dict(os.environ, PATH=f"{program.parent}:/usr/bin:/bin", BLOCK="4M", PART_SIZE=str(4 << 20))
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        lines = folder / "lines"
        with open(lines, "wb") as file:
            for number in range(count):
                line, is_broken = bulk_lines.line_of(number)
                file.write(b"%s\t?\n" % line.split(b"\t")[0] if is_broken else line)
        with_parallel(lines, environment=environment, kills=False)
        with_parallel(lines, environment=environment)
        over_ssh(lines, folder, environment)
        with_dask(lines, folder, environment)


if __name__ == "__main__":
    main()
