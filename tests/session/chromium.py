"""A real browser, driven through chromedriver (W3C WebDriver)."""

import json
import re
import subprocess
import urllib.error
import urllib.request

from session import DEADLINE, end_with_parent


class Chromium:
    """One browser with a profile of its own. `folder` has a short name, since the browser makes a socket below it;
    without a window where `environment` has no screen."""

    def __init__(self, folder, environment, preferences=None):
        folder.mkdir()
        self.driver = subprocess.Popen(["/usr/bin/chromedriver", "--port=0"], stdout=subprocess.PIPE, text=True,
                                       stderr=subprocess.DEVNULL, preexec_fn=end_with_parent,
                                       env=dict(environment, TMPDIR=str(folder)))
        for line in self.driver.stdout:
            if match := re.search(r"started successfully on port (\d+)", line):
                break
        self.address = f"http://127.0.0.1:{match.group(1)}"
        self.opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
        window = [] if "DISPLAY" in environment else ["--headless"]
        session = self.ask("POST", "/session", {"capabilities": {"alwaysMatch": {"goog:chromeOptions": {
            "binary": "/usr/bin/chromium",
            "prefs": preferences or {},
            "args": [*window, "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
                     "--disable-background-networking", "--disable-component-update", "--disable-sync",
                     "--no-proxy-server", "--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE 127.0.0.1",
                     f"--user-data-dir={folder / 'profile'}"]}}}})["sessionId"]
        self.address += f"/session/{session}"

    def ask(self, method, path, body=None):
        request = urllib.request.Request(self.address + path, method=method,
                                         data=None if body is None else json.dumps(body).encode(),
                                         headers={"Content-Type": "application/json"})
        try:
            with self.opener.open(request, timeout=DEADLINE) as answer:
                return json.loads(answer.read())["value"]
        except urllib.error.HTTPError as failure:
            raise AssertionError(f"the browser refuses {path}: {failure.read().decode()[:500]}") from None

    def open(self, address):
        self.ask("POST", "/url", {"url": address})

    def click(self, selector):
        element = next(iter(self.ask("POST", "/element", {"using": "css selector", "value": selector}).values()))
        self.ask("POST", f"/element/{element}/click", {})

    def title(self):
        return self.ask("GET", "/title")

    def close(self):
        self.ask("DELETE", "")
