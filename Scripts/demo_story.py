"""The demo's checks: computes the expected events from the document and from the records of the application."""

from collections import Counter

LIFECYCLE = "kTarnPlaybackSessionLifecycleEvent"  # the prefix of the session's event types
MAX_DIFFERENCE = 0.3  # seconds between the real and the simulated player's events; a busy machine delays a few events longer
MAX_DELAY = 1.0
IN_WINDOW = 4  # times these limits: every seek waits for a picture, which may be drawn without a GPU


def kind_of(record):
    return record["type"].removeprefix(LIFECYCLE) if record["kind"] == "lifecycle" else record["kind"]


def clock(seconds):
    return f"{int(seconds) // 60}:{seconds % 60:04.1f}"


class Story:
    """Prints the records of a playback in two columns: the application's events, and the stream's."""

    def __init__(self, timeline):
        self.sequences = timeline["adSequences"]
        self.last_progress = -10

    def texts_of(self, record):
        kind = kind_of(record)
        if kind == "progress" and record["at"] - self.last_progress >= 3:
            self.last_progress = record["at"]
            return f"content {clock(record['content'])}", ""
        if kind == "seek":
            return f"seek to {clock(record['to'])} {'reached' if record['finished'] else 'refused'}", ""
        if kind == "player" and record["action"] == "seek":
            return "", f"jumps to {clock(record['to'])}"
        if kind == "AdSequenceEnter":
            sequence = self.sequences[record["adSequence"]]
            return kind, f"break {clock(sequence['beginTime'])} to {clock(sequence['endTime'])}"
        if record["kind"] == "lifecycle" and kind != "AdProgress":
            return f"{kind} {record['ad'] or ''}", ""
        if kind == "beacon":
            return "", "beacon " + record["url"].split("/beacon/", 1)[-1].split("?")[0]
        return "", ""


class AdPlay:
    """One play of one ad: from its AdEnter to its AdExit."""

    def __init__(self, ad):
        self.ad = ad
        self.played = 0.0
        self.skipped = False

    def beacons(self):
        events = self.ad["trackingEvents"]
        named = lambda name: [event["url"] for event in events["byName"].get(name, [])]
        due = self.ad["impressionURLs"] + named("creativeView") + named("complete")
        due += [event["url"] for event in events["ordered"] if event["offset"] < self.played]
        return due + (named("skip") if self.skipped else [])


def ad_plays(timeline, records):
    """The plays of the ads. An AdPause is always a skip: the viewer's script pauses no ad."""
    plays, sequence, current = [], None, None
    for record in records:
        kind = kind_of(record)
        if kind == "AdSequenceEnter":
            sequence = timeline["adSequences"][record["adSequence"]]
        elif kind == "AdEnter":
            current = AdPlay(next(ad for ad in sequence["ads"] if ad["adId"] == record["ad"]))
            plays.append(current)
        elif kind == "AdProgress":
            current.played = max(current.played, record["adProgress"]) if not current.skipped else current.played
        elif kind == "AdPause":
            current.skipped = True
    return plays


def content_beacons(timeline, records):
    """A content impression is due, once, when playing (not a jump) moves the content time to the stream position of its point."""
    breaks = [s for s in timeline["adSequences"] if isinstance(s["logicalOffset"], (int, float))]
    position = lambda content: content + sum(s["duration"] for s in breaks if s["logicalOffset"] <= content)
    times = [record["content"] for record in records if record["kind"] == "progress"]
    steps = [(before, after) for before, after in zip(times, times[1:]) if 0 < after - before <= 1.5]
    return [one["url"] for one in timeline["contentImpressions"]
            if any(before < position(one["logicalTime"]) <= after for before, after in steps)]


def common_events(records):
    """The events that simulation and player must have in common: (time since the start of playing, text)."""
    start = next(record["at"] for record in records if kind_of(record) == "Play")
    texts = []
    for record in records:
        kind, at = kind_of(record), record.get("at", 0) - start
        if kind == "beacon":
            texts.append((at, record["url"]))
        elif kind == "seek":
            texts.append((at, f"seek {record['to']} {record['finished']}"))
        elif record["kind"] == "lifecycle" and kind not in ("AdProgress", "BufferingEnter", "BufferingExit"):
            texts.append((at, f"{kind} {record['ad']} {record['adSequence']}"))
    return texts


def agreement(records, simulated, window):
    real, virtual = common_events(records), common_events(simulated)
    for number, (one, other) in enumerate(zip(real, virtual)):
        if one[1] != other[1]:
            return False, f"event {number + 1} was {one[1]!r}, in the simulation {other[1]!r}"
    if len(real) != len(virtual):
        return False, f"{len(real)} events, in the simulation {len(virtual)}"
    apart = sorted(abs(one[0] - other[0]) for one, other in zip(real, virtual))
    slack = IN_WINDOW if window else 1
    good = apart[len(apart) * 9 // 10] <= MAX_DIFFERENCE * slack and apart[-1] <= MAX_DELAY * slack
    return good, f"{len(real)} events and beacons alike, at most {apart[-1]:.2f} s apart"


def grouped(records):
    """Numbers the player's updates: beacons sent within a twentieth of a second belong to the same one."""
    numbered, last = [], None
    for record in (record for record in records if record["kind"] == "beacon"):
        update = 0 if last is None else numbered[-1][0] + (record["at"] - last > 0.05)
        numbered.append((update, record["url"]))
        last = record["at"]
    return numbered


def arrived_in_order(sent, received):
    """Whether every beacon arrived as often as it was sent, and none before one of an earlier update.

    Beacons of one update are sent at the same time, so their order may change.
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


def breaks_played(records):
    return [record["adSequence"] for record in records if kind_of(record) == "AdSequenceEnter"]


def progress_in_breaks(records):
    """The number of content times that the application received while an ad break played."""
    inside, count = False, 0
    for record in records:
        kind = kind_of(record)
        inside = kind == "AdSequenceEnter" or (inside and kind != "AdSequenceExit")
        count += inside and kind == "progress"
    return count


def checks(timeline, records, simulated, received, window=False):
    """(name, whether it passes, text)"""
    plays = ad_plays(timeline, records)
    expected = Counter(url for play in plays for url in play.beacons()) + Counter(content_beacons(timeline, records))
    sent = grouped(records)
    seeks = [(record["to"], record["finished"]) for record in records if record["kind"] == "seek"]
    durations = [record["content"] for record in records if record["kind"] == "duration"]
    content = max(record["content"] for record in records if record["kind"] == "progress")
    order = breaks_played(records)
    return [
        ("simulation", *agreement(records, simulated, window)),
        ("breaks", order == [0, 2, 1, 2, 3],
         f"{order}: pre-roll; the second mid-roll, forced; the first, skipped; the second again; post-roll"),
        ("seeks", seeks == [(20, False), (32, True), (11.8, True), (36, True)],
         ", ".join(f"{to} s {'reached' if finished else 'refused'}" for to, finished in seeks)),
        ("skip", [play.skipped for play in plays] == [False, False, False, True, False, False],
         f"{sum(play.skipped for play in plays)} ad skipped, after {next((p.played for p in plays if p.skipped), 0):.1f} s"),
        ("content time", progress_in_breaks(records) == 0 and content >= timeline["contentLength"] - 0.2,
         f"reached {clock(min(content, timeline['contentLength']))}, none in a break"),
        ("duration", bool(durations) and abs(durations[-1] - timeline["contentLength"]) < 0.2,
         f"{durations[-1]:.2f} s reported, {timeline['contentLength']:.2f} s in the document" if durations else "unknown"),
        ("beacons sent", Counter(url for _, url in sent) == expected, f"{len(sent)} sent, {expected.total()} expected"),
        ("beacons received", arrived_in_order(sent, received), f"{len(received)} received, in order"),
        ("end", kind_of([r for r in records if r["kind"] == "lifecycle"][-1]) in ("End", "Terminate"),
         "the stream was played to its end"),
    ]
