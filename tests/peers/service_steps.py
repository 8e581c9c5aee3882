"""The alert service of a story, as a process of its own, and what a guard that talks to it goes through."""
import base64, json, os, subprocess, time

from steps import DATA, at_failure, brindle, check, sh, state, until


class AlertService:
    """The scripted service; the guard's preferences name it."""

    def __init__(self, program):
        self.log = os.environ["HOME"] + "/service.log"
        self.process = subprocess.Popen([program, self.log], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        at_failure.append(self.process.kill)
        self.port = self.process.stdout.readline().strip()
        os.makedirs(os.environ["XDG_CONFIG_HOME"] + "/Brindle")
        with open(os.environ["XDG_CONFIG_HOME"] + "/Brindle/preferences.json", "w", encoding="utf-8") as settings:
            json.dump({"service.url": f"http://127.0.0.1:{self.port}"}, settings)

    def tell(self, *commands):
        for command in commands:
            print(command, file=self.process.stdin, flush=True)
            check(self.process.stdout.readline() == "ok\n", f"the service is told: {command}")

    def to(self, path="", event=None, since=0):
        """The requests to this path, each with its body and what its JSON says."""
        found = []
        for line in open(self.log, encoding="utf-8").read().split("\n")[since:-1]:
            request = json.loads(line)
            request["body"] = base64.b64decode(request["body"])
            request["headers"] = {name.lower(): value for name, value in request["headers"].items()}
            request["json"] = json.loads(request["body"]) if request["body"][:1] == b"{" else {}
            if path in request["path"] and event in (None, request["json"].get("eventId")):
                found.append(request)
        return found

    def gets(self, path, what, event=None, since=0, seconds=20):
        return until(lambda: self.to(path, event, since), what, seconds)

    def sign_in(self, email, pin):
        brindle("account", "sign-in", "email", email, typed=pin + "\n")
        sent = self.to("verify-start")[-1]["json"]
        check(sent["email"] == email, "the link is asked for this address", sent)
        brindle("open", f"brindle://signin?code=once&state={sent['state']}")
        until(lambda: f"Signed in as {email} (Email)." in brindle("status"), f"signed in as {email}")
        check(self.to("verify-finish")[-1]["json"] == {"code": "once", "state": sent["state"]}, "with the link's code and state")


last_unlock = 0


def unlock():
    """Somebody unlocks the machine: the event."""
    global last_unlock
    until(lambda: time.monotonic() > last_unlock + 1.6, "another unlock, not the same one once more")
    before = [each["id"] for each in state()["events"]]
    sh("lock_session", check=True)
    until(lambda: "true" in sh("locked_hint").stdout, "the session is locked")
    sh("unlock_typed", check=True)
    last_unlock = time.monotonic()
    return until(lambda: [each for each in state()["events"] if each["id"] not in before], "the unlock is an event")[0]


def couriers():
    """The courier of this story, if one runs."""
    found = sh(f"grep -slzx '{DATA}/[t]ransfers' /proc/[0-9]*/cmdline").stdout
    return [int(path.split("/")[2]) for path in found.split()]
