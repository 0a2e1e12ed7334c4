"""Plays the demo on a virtual screen and takes a picture of each state of the window. Started by Scripts/screenshots."""

import argparse
import json
import pathlib
import subprocess
import tempfile
import time

from demo_service import start_service
from screen import Screen

ROOT = pathlib.Path(__file__).parent.parent
SIZES = [(1280, 720), (1920, 1080), (3840, 2160)]
# The pre-roll, some content, then a seek to the break whose ad can be skipped.
SCRIPT = "play\nrun 15\nseek 12.5\nrun 9\nterminate\n"
MAX_DRAWING_TIME = 0.8  # seconds; the longest time from an event to its picture on the screen


def in_ad(name, seconds):
    return lambda record: record.get("ad") == name and (record.get("adProgress") or 0) >= seconds


# The name, and the record after which it is taken (the first one after the previous picture's).
PICTURES = [
    ("window-pre-roll", in_ad("kyr-coffee", 1.5)),
    ("window-content", lambda record: record["kind"] == "progress" and record["content"] >= 1.5),
    ("window-skip-counting", in_ad("kyr-travel", 0.6)),
    ("window-skip-ready", in_ad("kyr-travel", 4.2)),
]


def wait_for_line(process, text):
    for line in process.stdout:
        if text in line:
            return
    raise SystemExit(f"{process.args[0]} ended before it printed {text}")


def play(kyr, url, screen, folder):
    waiting = list(PICTURES)
    with tempfile.NamedTemporaryFile("w", suffix=".script") as script:
        script.write(SCRIPT)
        script.flush()
        player = subprocess.Popen([kyr, "play", url, "--full-screen", "--json", "--script", script.name], stdout=subprocess.PIPE,
                                  text=True, env=screen.environment)
        for line in player.stdout:
            if not waiting or not waiting[0][1](json.loads(line)):
                continue
            screen.press("Down" if waiting[0][0].endswith("ready") else "Shift_L")  # shows the transport bar
            time.sleep(MAX_DRAWING_TIME)
            screen.save(folder / (waiting.pop(0)[0] + ".png"))
    if player.wait() != 0 or waiting:
        raise SystemExit(f"not taken: {[name for name, _ in waiting]}")


def show_example(example, url, screen, folder):
    application = subprocess.Popen([example, url], stdout=subprocess.PIPE, text=True, env=screen.environment)
    try:
        wait_for_line(application, "EventAdEnter")
        time.sleep(1.5)
        screen.save(folder / "example-companion.png")
        screen.press("Up")
        screen.press("Return")
        wait_for_line(application, "DidOpen")
        time.sleep(1)
        screen.save(folder / "example-page.png")
    finally:
        application.terminate()
        application.wait()


def main():
    options = argparse.ArgumentParser(description="Takes the pictures of the window.")
    options.add_argument("--kyr", required=True, help="the kyr program")
    options.add_argument("--example", required=True, help="the example that shows pages and companions")
    options.add_argument("--check", action="store_true", help="do not change Docs/images")
    arguments = options.parse_args()

    service, url = start_service(arguments.kyr)
    try:
        for width, height in SIZES:
            to_docs = height == 720 and not arguments.check
            folder = ROOT / "Docs/images" if to_docs else ROOT / f"build/screenshots/{height}"
            print(f"==> {width}×{height} into {folder.relative_to(ROOT)}", flush=True)
            with Screen(width, height) as screen:
                play(arguments.kyr, url, screen, folder)
                if height == 720:
                    show_example(arguments.example, url, screen, folder)
    finally:
        service.terminate()
        service.wait()


main()
