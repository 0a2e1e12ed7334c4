"""Plays the demo stream twice at once, through `kyr play` and through a bare playbin, and compares their processor time.

Both play at the same time, so that other load of the machine affects both.
"""

import json
import os
import statistics
import subprocess
import sys
import time

from demo_service import start_service

ROUNDS = 3
BEGIN, END = 5, 65  # seconds after the start; processor time is measured between the two
TICKS = os.sysconf("SC_CLK_TCK")


def processor_seconds(process):
    fields = open(f"/proc/{process.pid}/stat").read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / TICKS


def stream_of(kyr, url):
    return json.loads(subprocess.run([kyr, "inspect", url, "--json"], check=True, capture_output=True, text=True).stdout)["url"]


def play_both(kyr, url, stream):
    sink = "fakesink sync=true"
    commands = {"kyr": [kyr, "play", url, "--headless", "--json"],
                "bare": ["gst-launch-1.0", "-q", "playbin", f"uri={stream}", f"video-sink={sink}", f"audio-sink={sink}"]}
    players = {name: subprocess.Popen(command, stdout=subprocess.DEVNULL) for name, command in commands.items()}
    try:
        time.sleep(BEGIN)
        before = {name: processor_seconds(player) for name, player in players.items()}
        time.sleep(END - BEGIN)
        return {name: processor_seconds(player) - before[name] for name, player in players.items()}
    finally:
        for player in players.values():
            player.kill()
            player.wait()


def main():
    kyr = sys.argv[1]
    service, url = start_service(kyr)
    try:
        stream = stream_of(kyr, url)
        ratios = []
        for _ in range(ROUNDS):
            used = play_both(kyr, url, stream)
            ratios.append(used["kyr"] / used["bare"])
            print(f"  {END - BEGIN} s of playing: {used['kyr']:.2f} s of processor time, bare {used['bare']:.2f} s: "
                  f"{ratios[-1]:.3f} ×")
    finally:
        service.terminate()
        service.wait()
    print(f"| playing, processor time | | {statistics.median(ratios):.2f} × the same pipeline alone | ≤ 1.03 × |")


main()
