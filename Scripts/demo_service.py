"""Starts the demo ad-insertion service on a free port."""

import re
import subprocess


def start_service(kyr, media=None):
    """Returns the process and the address of the demo's document."""
    command = [kyr, "serve", "--port", "0"] + (["--media", media] if media else [])
    service = subprocess.Popen(command, stdout=subprocess.PIPE, text=True)
    for line in service.stdout:
        print("  " + line.rstrip())
        found = re.search(r"http://127\.0\.0\.1:\d+/vmap/demo\.xml", line)
        if found:
            return service, found.group(0)
    raise SystemExit("the demo service did not start")
