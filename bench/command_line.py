#!/usr/bin/env python3
"""Measures the whole program beside OpenSSL's: command_line.py PROGRAM FILE OF CERTIFICATES.

Both print every certificate of the file, as processes of their own, in turns; starting them counts.
Writes milliseconds as bench/report.py reads them.
"""

import json
import statistics
import subprocess
import sys
import time

ROUNDS = 25


def milliseconds(command):
    start = time.perf_counter()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    return 1000 * (time.perf_counter() - start)


def main():
    program, bundle = sys.argv[1:]
    ours = [program, "show", "--json", bundle]
    theirs = ["sh", "-c", "openssl crl2pkcs7 -nocrl -certfile \"$0\""
                          " | openssl pkcs7 -print_certs -text -noout", bundle]
    rounds = [(milliseconds(ours), milliseconds(theirs)) for _ in range(ROUNDS)]
    median_ours, median_theirs = (statistics.median(side) for side in zip(*rounds))
    print(json.dumps({"values": {"process/velmora": median_ours, "process/openssl": median_theirs}}))


if __name__ == "__main__":
    main()
