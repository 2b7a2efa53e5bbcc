"""What a session on a desktop costs, and what costs it: a page that is still, into which letters are
typed, or that scrolls."""
import os
import pathlib
import subprocess
import time

import harness

SECONDS = 8
# By then a still picture has settled and its first good key frame has gone out.
WARM_UP = 5
PAGE = "for i in $(seq 50); do seq -s ' word ' $i 5 400 | cut -c 1-180; done"
ROWS = {
    "still": f"{PAGE}; sleep 600",
    "typing": f"{PAGE}; while :; do printf x; sleep 0.1; done",
    "scrolling": f"while :; do {PAGE} | while IFS= read -r line; do echo \"$line\"; sleep 0.033; done; done",
}


def processor(pid):
    """Milliseconds of all threads, to the nanosecond where the kernel tells."""
    total = 0
    for task in os.listdir(f"/proc/{pid}/task"):
        try:
            total += int(open(f"/proc/{pid}/task/{task}/schedstat").read().split()[0]) / 1e6
        except (OSError, IndexError):
            pass
    return total


def changes(durations):
    """How many access units of an agent's notes say more than that nothing has changed."""
    least = 40  # bytes
    return sum(int(line.split()[1]) > least for line in durations.read_text(encoding="utf-8").splitlines())


class SessionCost:
    """For a case with the program, the agent and a compositor on a desktop of 1920x1080."""

    def compositor(self):
        """The process that draws the desktop."""
        return self.server

    def agree(self):
        """Answers what the desktop asks at the start of a session."""

    def show(self, row):
        """The content, in sight."""
        content = self.start(harness.Child, ["foot", "--fullscreen", "sh", "-c", ROWS[row]],
                             self.environment(), stderr=subprocess.DEVNULL)
        time.sleep(1.5)
        return content

    def measure(self, program):
        """Milliseconds a second, of the program and of the compositor."""
        time.sleep(WARM_UP)
        before = processor(program.pid), processor(self.compositor().pid)
        begin = time.monotonic()
        time.sleep(SECONDS)
        took = time.monotonic() - begin
        return ((processor(program.pid) - before[0]) / took,
                (processor(self.compositor().pid) - before[1]) / took)

    def own(self):
        """The same of the program as shipped, the pictures a second in which something has changed, its
        peak, and what it has of its own in the end, in MiB."""
        durations = self.home / "durations"
        agent = self.start_agent("--record", self.home / "video.h264", "--record-durations", durations)
        program = self.start_program()
        agent.next_message()
        agent.send({"op": "start", "viewer": "Anna", "fps": 30, "kbps": 4000})
        self.agree()
        while agent.next_message()["op"] != "started":
            pass
        begin, before = time.monotonic(), changes(durations)
        result = self.measure(program)
        sent = (changes(durations) - before) / (time.monotonic() - begin)
        status = pathlib.Path(f"/proc/{program.pid}/status").read_text(encoding="utf-8")
        peak, own = (int(status.split(name)[1].split()[0]) // 1024 for name in ("VmHWM:", "RssAnon:"))
        program.end()
        agent.end()
        harness.SOCKET.unlink(missing_ok=True)
        durations.unlink()
        return (*result, sent, peak, own)
