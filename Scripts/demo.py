"""Runs the demo: service, player, checks. Started by Scripts/demo, which builds kyr first.

A viewer's script is played on the real player and in virtual time. The two must agree, and the beacons that the service received
must be those that `demo_story.py` computes from the document, independently of the code that sends them.
"""

import argparse
import json
import pathlib
import subprocess
import sys
import time
import urllib.request

import demo_story
from demo_service import start_service

SCRIPT = pathlib.Path(__file__).parent.parent / "Samples" / "demo.script"
TIME_LIMIT = "115"  # seconds


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def show(record, story):
    """Prints one line: the time, the application's event, and the stream's."""
    application, stream = story.texts_of(record)
    if application or stream:
        print(f"  {record['at']:7.2f} s  {application:44} {stream}".rstrip())


def play(kyr, url, window, story):
    command = [kyr, "play", url, "--json", "--script", str(SCRIPT), "--for", TIME_LIMIT] + ([] if window else ["--headless"])
    player = subprocess.Popen(command, stdout=subprocess.PIPE, text=True)
    print(f"  {'':9}  {'the application':44} the stream")
    records = []
    for line in player.stdout:
        records.append(json.loads(line))
        show(records[-1], story)
    return player.wait(), records


def received_by(base):
    urls = [beacon["url"] for beacon in json.load(urllib.request.urlopen(base + "/beacons"))]
    return [url if url.startswith("http") else base + url for url in urls]


def run(kyr, url, window):
    timeline = json.loads(output_of(kyr, "inspect", url, "--json"))
    print(f"==> Playing {timeline['payloadLength']:.0f} s: {timeline['contentLength']:.0f} s of content, "
          f"{sum(len(sequence['ads']) for sequence in timeline['adSequences'])} ads")
    started = time.monotonic()
    status, records = play(kyr, url, window, demo_story.Story(timeline))
    print(f"==> Played in {time.monotonic() - started:.1f} s")
    if status != 0:
        return False  # the player has printed the reason
    simulated = [json.loads(line) for line in output_of(kyr, "simulate", url, "--json", "--script", str(SCRIPT)).splitlines()]

    checks = demo_story.checks(timeline, records, simulated, received_by(url.split("/vmap/")[0]), window)
    print("\n  Summary")
    for name, good, text in checks:
        print(f"    {'ok  ' if good else 'FAIL'}  {name:17} {text}")
    return all(good for _, good, _ in checks)


def main():
    options = argparse.ArgumentParser(description="Plays the demo stream and checks the application's events and the received beacons.")
    options.add_argument("--kyr", required=True, help="the kyr program")
    options.add_argument("--media", help="the folder of the demo stream")
    options.add_argument("--window", action="store_true", help="play in a window, with picture, sound and the ad overlay")
    arguments = options.parse_args()

    print("==> Starting the demo ad-insertion service")
    service, url = start_service(arguments.kyr, arguments.media)
    try:
        good = run(arguments.kyr, url, arguments.window)
    finally:
        service.terminate()
        service.wait()
    print("\nDEMO OK" if good else "\nDEMO FAILED")
    sys.exit(0 if good else 1)


main()
