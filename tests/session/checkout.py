"""A checkout of a platform, made by a test, and a system in which commands can be linked without a password."""

import json
import os
import socket
import subprocess
from pathlib import Path

from session import DEADLINE, wait_for

TSX = "packages/server/node_modules/.bin/tsx"


def free_port():
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return listener.getsockname()[1]


def write_program(file, text):
    file.parent.mkdir(parents=True, exist_ok=True)
    file.write_text("#!/bin/sh\n" + text)
    file.chmod(0o755)


class Checkout:
    """Its "tsx" becomes the sandbox, on a port of its own, once `may_start` was called; its "pnpm" builds the shared
    package, or fails, when it is told to."""

    def __init__(self, folder, programs, home):
        self.folder = Path(folder)
        self.home = Path(home)
        self.config = self.home / ".config" / "dw" / "config.json"
        self.port = free_port()
        self.address = f"http://driftwell.localhost:{self.port}"
        self.process = self.folder / "server.pid"
        (self.folder / "packages/server/src").mkdir(parents=True)
        (self.folder / "packages/server/src/index.ts").touch()
        write_program(self.folder / TSX, f"""echo $$ > '{self.process}'
{self.waiting('start')}
exec '{programs}/driftwell-sandbox' --port {self.port} --data '{self.folder}/data'
""")
        write_program(self.folder / "tools/pnpm", f"""{self.waiting('build')}
rm '{self.folder}/build'
if [ -e '{self.folder}/broken' ]; then
    rm '{self.folder}/broken'
    echo "src/index.ts(4,1): error TS2304: Cannot find name 'window'."
    exit 2
fi
mkdir -p packages/shared/dist && touch packages/shared/dist/index.js
""")
        for name in (".profile", ".zprofile"):
            (self.home / name).write_text(f"PATH='{self.folder}/tools':$PATH\n")

    def waiting(self, step):
        return f"while [ ! -e '{self.folder}/{step}' ]; do sleep 0.1; done"

    def may_build(self):
        (self.folder / "build").touch()

    def may_fail_to_build(self):
        (self.folder / "broken").touch()
        self.may_build()

    def may_start(self):
        (self.folder / "start").touch()

    def configure(self):
        """The person has chosen it before."""
        self.write_config(host=self.address, localRepo=str(self.folder))

    def write_config(self, **values):
        self.config.parent.mkdir(parents=True, exist_ok=True)
        self.config.write_text(json.dumps(values))

    def read_config(self):
        return json.loads(self.config.read_text())

    def server_runs(self):
        """One that has ended, and that nobody has asked for how, does not (proc(5))."""
        try:
            status = Path(f"/proc/{self.process.read_text().strip()}/stat").read_text()
        except FileNotFoundError:
            return False
        return status.rpartition(") ")[2][0] not in "ZX"

    def wait_for_end(self):
        wait_for("the end of the server", lambda: not self.server_runs())


def with_mounts(*mounts):
    """A command that runs another one with a view of the file system that nobody else has (unshare(1)), in which each
    first path stands in the place of the second; the person stays the same."""
    script = " && ".join(f"mount --bind '{source}' '{target}'" for source, target in mounts)
    people = [] if os.geteuid() == 0 else ["--map-current-user", "--keep-caps"]
    return ["/usr/bin/unshare", *people, "--mount", "/bin/sh", "-c", script + ' && exec "$@"', "sh"]


def can_mount(command):
    """Not in a container that may not mount anything."""
    return subprocess.run([*command, "true"], stderr=subprocess.DEVNULL, timeout=DEADLINE).returncode == 0


class LinkedSystem:
    """Folders of a test's own in the place of /usr/local/bin and of pkexec, for the programs that `command` starts. The
    command is linked to another copy of the application; the password dialog waits for an answer."""

    def __init__(self, folder):
        self.folder = Path(folder)
        self.links = self.folder / "links"
        self.links.mkdir(parents=True)
        self.other = self.folder / "old/Driftwell/Contents/Helpers/dw"
        write_program(self.other, "echo 0.9\n")
        (self.links / "dw").symlink_to(self.other)
        self.pkexec = self.folder / "pkexec"
        write_program(self.pkexec, f"""while [ ! -e '{self.folder}/answer' ]; do sleep 0.1; done
read answer < '{self.folder}/answer'
rm '{self.folder}/answer'
[ "$answer" = granted ] || exit 126
exec "$@"
""")

    def command(self):
        return with_mounts((self.links, "/usr/local/bin"), (self.pkexec, "/usr/bin/pkexec"))

    def works(self):
        return can_mount(self.command())

    def answer(self, text):
        draft = self.folder / "draft"
        draft.write_text(text + "\n")
        draft.rename(self.folder / "answer")

    def target(self):
        return os.readlink(self.links / "dw")
