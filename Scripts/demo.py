"""Runs the demo: service, player, comparison. Started by Scripts/demo, which builds kyr first.

What the service must receive is worked out here from what `kyr inspect` says of the document, not by the code that sends.
"""

import argparse
import json
import re
import subprocess
import sys
import time
import urllib.request

TIME_LIMIT = 115  # seconds for playing; the stream itself lasts a good minute
LIFECYCLE = "kTarnPlaybackSessionLifecycleEvent"  # begins the types of the session's events


def fail(message):
    print(f"\nDEMO FAILED: {message}")
    sys.exit(1)


def start_service(kyr, media):
    command = [kyr, "serve", "--port", "0"] + (["--media", media] if media else [])
    service = subprocess.Popen(command, stdout=subprocess.PIPE, text=True)
    for line in service.stdout:
        print("  " + line.rstrip())
        found = re.search(r"http://127\.0\.0\.1:\d+/vmap/demo\.xml", line)
        if found:
            return service, found.group(0)
    fail("the demo service did not start")


def inspect(kyr, url):
    return json.loads(subprocess.run([kyr, "inspect", url, "--json"], check=True, capture_output=True, text=True).stdout)


def play(kyr, url, beacon_names):
    """Plays to the end and returns the player's records, printing the ones that tell the story."""
    player = subprocess.Popen([kyr, "play", url, "--headless", "--json", "--for", str(TIME_LIMIT)], stdout=subprocess.PIPE,
                              text=True)
    records = []
    last_shown = -10
    for line in player.stdout:
        record = json.loads(line)
        records.append(record)
        at = record.get("at", 0)
        if record["kind"] == "beacon":
            print(f"  {at:7.2f} s  beacon   {beacon_names(record['url'])}")
        elif record["kind"] == "lifecycle" and record["type"] != LIFECYCLE + "AdProgress":
            print(f"  {at:7.2f} s  {record['type'].removeprefix(LIFECYCLE)}{' ' + record['ad'] if record['ad'] else ''}")
        elif record["kind"] == "progress" and at - last_shown >= 5:
            last_shown = at
            print(f"  {at:7.2f} s  content time {record['content']:.2f} s")
    return player.wait(), records


def position_of_content(timeline, content):
    """The stream position of a content time: behind every break that stands at or before it."""
    position = content
    for sequence in timeline["adSequences"]:
        if isinstance(sequence["logicalOffset"], (int, float)) and sequence["logicalOffset"] <= content:
            position += sequence["duration"]
    return position


def expected_beacons(timeline):
    """The beacons of one play from start to end, in order, as (stream position, URL)."""
    due = []
    for sequence in timeline["adSequences"]:
        for ad in sequence["ads"]:
            begin, end = ad["beginTime"], ad["endTime"]
            events = ad["trackingEvents"] or {"byName": {}, "ordered": []}
            named = lambda name: [event["url"] for event in events["byName"].get(name, []) if event["url"]]
            due += [(begin, 1, url) for url in ad["impressionURLs"] + named("creativeView")]
            due += [(begin + event["offset"], 1, event["url"]) for event in events["ordered"]
                    if event["url"] and event["offset"] < ad["duration"]]
            due += [(end, 0, url) for url in named("complete")]  # before the next ad's impressions
    for impression in sorted(timeline["contentImpressions"], key=lambda one: one["logicalTime"]):
        # An impression is due when the content time reaches the stream position of its point.
        threshold = position_of_content(timeline, impression["logicalTime"])
        if impression["url"] and 0 < threshold <= timeline["contentLength"]:
            due.append((position_of_content(timeline, threshold), 2, impression["url"]))
    due.sort(key=lambda one: one[:2])
    return [url for _, _, url in due]


def grouped(beacons):
    """Numbers the player's updates: beacons sent within a twentieth of a second belong to one."""
    numbered, last = [], None
    for at, url in beacons:
        update = 0 if last is None else numbered[-1][0] + (at - last > 0.05)
        numbered.append((update, url))
        last = at
    return numbered


def arrived_in_order(sent, received):
    """Whether every beacon arrived once and none overtook one of an earlier update.

    `sent` is a list of (update, URL). Beacons of one update travel side by side, so those may overtake one another.
    """
    updates = {}
    for update, url in sent:
        updates.setdefault(url, []).append(update)
    order = []
    for url in received:
        if not updates.get(url):
            return False
        order.append(updates[url].pop(0))
    return not any(updates.values()) and order == sorted(order)


def summarise(timeline, status, records, received):
    sent = grouped([(record["at"], record["url"]) for record in records if record["kind"] == "beacon"])
    expected = expected_beacons(timeline)
    # At the single instant where the last ad ends its length still counts as content; it is no place that plays.
    content = max((record["content"] for record in records if record["kind"] == "progress"
                   and isinstance(record["content"], (int, float)) and record["content"] <= timeline["contentLength"]),
                  default=0)
    boundaries = [time for sequence in timeline["adSequences"] for time in (sequence["beginTime"], sequence["endTime"])]
    passed = [record["absolute"] for record in records if record["kind"] == "lifecycle"
              and record["type"] in (LIFECYCLE + "AdSequenceEnter", LIFECYCLE + "AdSequenceExit")]
    lateness = [there - due for due, there in zip(boundaries, passed)]
    durations = [record["content"] for record in records if record["kind"] == "duration"]
    ads = sum(sequence["duration"] for sequence in timeline["adSequences"])
    checks = [
        ("player ended well", status == 0, f"exit status {status}"),
        ("beacons sent", [url for _, url in sent] == expected, f"{len(sent)} sent, {len(expected)} expected, in order"),
        ("beacons received", arrived_in_order(sent, received), f"{len(received)} received, in order, none twice"),
        ("content time", abs(content - timeline["contentLength"]) < 0.5,
         f"{content:.2f} s reached of {timeline['contentLength']:.2f} s"),
        ("stream length", bool(durations) and abs(durations[-1] + ads - timeline["payloadLength"]) < 0.2,
         f"{durations[-1] + ads - timeline['payloadLength']:+.3f} s against the document" if durations else "unknown"),
        ("boundaries", len(passed) == len(boundaries) and all(-0.001 <= late < 0.5 for late in lateness),
         f"{len(passed)} of {len(boundaries)} passed, drift at most {max(lateness, default=0):.3f} s"),
    ]
    print("\n  Summary")
    for name, good, text in checks:
        print(f"    {'ok  ' if good else 'FAIL'}  {name:17} {text}")
    for index, url in enumerate(expected):
        if index >= len(sent) or sent[index][1] != url:
            print(f"    first difference at beacon {index + 1}: expected {url}")
            break
    return all(good for _, good, _ in checks)


def main():
    options = argparse.ArgumentParser(description="Plays the demo stream and checks the beacons that the service received.")
    options.add_argument("--kyr", required=True, help="the kyr program")
    options.add_argument("--media", help="where the demo stream is kept")
    arguments = options.parse_args()

    print("==> Starting the demo ad-insertion service")
    service, url = start_service(arguments.kyr, arguments.media)
    try:
        timeline = inspect(arguments.kyr, url)
        print(f"==> Playing {timeline['payloadLength']:.0f} s: {timeline['contentLength']:.0f} s of content, "
              f"{sum(len(sequence['ads']) for sequence in timeline['adSequences'])} ads")
        started = time.monotonic()
        status, records = play(arguments.kyr, url, lambda beacon: beacon.split("/beacon", 1)[-1])
        base = url.split("/vmap/")[0]
        received = [beacon["url"] for beacon in json.load(urllib.request.urlopen(base + "/beacons"))]
        received = [beacon if beacon.startswith("http") else base + beacon for beacon in received]
        print(f"==> Played in {time.monotonic() - started:.1f} s")
        good = summarise(timeline, status, records, received)
    finally:
        service.terminate()
        service.wait()
    print("\nDEMO OK" if good else "\nDEMO FAILED")
    sys.exit(0 if good else 1)


main()
