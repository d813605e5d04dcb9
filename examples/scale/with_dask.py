#!/usr/bin/env python3
"""A file of lines through the command line by Dask distributed:

    with_dask.py SCHEDULER LINES FOLDER

SCHEDULER is where dask-scheduler listens, "tcp://127.0.0.1:8786"; its workers see LINES and FOLDER under these names and
have velmora-x509 on the path. Each line of LINES is a key, a tab and a certificate in base64. FOLDER gets
part-00000.jsonl and so on, the answers in the order of the lines.

A part is written under another name and renamed when it is whole. So it does not matter how often one is done: when a
worker dies, the scheduler gives its parts to another one; what the dead one left has no name that ends in .jsonl.
"""
import os
import subprocess
import sys

from distributed import Client, as_completed

PART_SIZE = int(os.environ.get("PART_SIZE", 32 << 20))
WELL = (0, 3)  # 3: some lines hold no certificate, which their objects tell


def treat(lines, start, end, path):
    """Answers the lines from one octet to another, and gives how many answers there are."""
    unfinished = f"{path}.{os.getpid()}"
    with open(lines, "rb") as source, open(unfinished, "wb") as answers:
        source.seek(start)
        with subprocess.Popen(["velmora-x509", "show", "--json", "--lines", "--quiet"], stdin=subprocess.PIPE,
                              stdout=answers) as program:
            left = end - start
            while left:
                piece = source.read(min(left, 1 << 20))
                if not piece:
                    raise RuntimeError(f"{lines} has become shorter")
                program.stdin.write(piece)
                left -= len(piece)
            program.stdin.close()
            if program.wait() not in WELL:
                raise RuntimeError(f"velmora-x509 ended with {program.returncode}")
    os.rename(unfinished, path)
    with open(path, "rb") as answers:
        return sum(1 for _ in answers)


def parts(lines):
    """Where parts of about PART_SIZE start and end; no line is in two of them."""
    size = os.path.getsize(lines)
    start = 0
    with open(lines, "rb") as source:
        while start < size:
            source.seek(min(start + PART_SIZE, size))
            source.readline()
            end = min(source.tell(), size)
            yield start, end
            start = end


def main():
    if len(sys.argv) != 4:
        sys.exit("with_dask.py SCHEDULER LINES FOLDER")
    scheduler, lines, folder = sys.argv[1:]
    os.makedirs(folder, exist_ok=True)
    if any(name.endswith(".jsonl") for name in os.listdir(folder)):
        sys.exit(f"{folder} has answers of another run")  # which may be more parts than this one's
    with Client(scheduler) as client:
        tasks = [client.submit(treat, os.path.abspath(lines), start, end,
                               os.path.abspath(f"{folder}/part-{number:05}.jsonl"), pure=False, retries=3)
                 for number, (start, end) in enumerate(parts(lines))]
        print(sum(task.result() for task in as_completed(tasks)), "answers in", len(tasks), "parts")


if __name__ == "__main__":
    main()
