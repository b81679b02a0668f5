"""A headless Chromium, driven over its debugging pipe. Nothing but Python and the browser is needed."""
import base64
import json
import os
import select
import subprocess
import tempfile
import time


class BrowserError(Exception):
    pass


class Browser:
    """One page of one browser. Times are seconds."""

    def __init__(self, program, patience=60):
        self.patience = patience
        self.profile = tempfile.TemporaryDirectory(prefix="orva-docs-", ignore_cleanup_errors=True)
        to_browser, self.out = os.pipe()
        self.inp, from_browser = os.pipe()
        # The browser reads from descriptor 3 and writes to 4.
        command = ["bash", "-c", f'exec "$0" "$@" 3<&{to_browser} 4>&{from_browser}', program, "--headless=new",
                   "--remote-debugging-pipe", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                   "--no-first-run", "--hide-scrollbars", f"--user-data-dir={self.profile.name}", "about:blank"]
        self.process = subprocess.Popen(command, pass_fds=(to_browser, from_browser), stdin=subprocess.DEVNULL,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to_browser)
        os.close(from_browser)
        self.buffer, self.last_id, self.session, self.events = b"", 0, None, []
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        self.call("Page.enable")

    def close(self):
        self.process.terminate()
        self.process.wait()
        os.close(self.out)
        os.close(self.inp)
        self.profile.cleanup()

    def _receive(self, deadline):
        while b"\0" not in self.buffer:
            ready, _, _ = select.select([self.inp], [], [], max(0, deadline - time.monotonic()))
            data = os.read(self.inp, 1 << 20) if ready else b""
            if not data:
                raise BrowserError("the browser has ended" if ready else "the browser does not answer")
            self.buffer += data
        message, self.buffer = self.buffer.split(b"\0", 1)
        return json.loads(message)

    def call(self, method, **parameters):
        self.last_id += 1
        message = {"id": self.last_id, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        data = json.dumps(message).encode() + b"\0"
        while data:
            data = data[os.write(self.out, data):]
        deadline = time.monotonic() + self.patience
        while True:
            answer = self._receive(deadline)
            if answer.get("id") == self.last_id:
                if "error" in answer:
                    raise BrowserError(f"{method}: {answer['error'].get('message')}")
                return answer["result"]
            self.events.append(answer.get("method"))

    def open(self, url, width, height):
        """Loads a page in a window of that size, in CSS pixels."""
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=width < 600)
        self.events.clear()
        self.call("Page.navigate", url=url)
        deadline = time.monotonic() + self.patience
        while "Page.loadEventFired" not in self.events:
            self.events.append(self._receive(deadline).get("method"))

    def value(self, expression):
        result = self.call("Runtime.evaluate", expression=expression, returnByValue=True)
        if "exceptionDetails" in result:
            raise BrowserError(f"{expression}: {result['exceptionDetails'].get('text')}")
        return result["result"].get("value")

    def until(self, expression, seconds=60):
        """The first value of the expression that is true, or the last one when the time is over."""
        deadline = time.monotonic() + seconds
        while True:
            value = self.value(expression)
            if value or time.monotonic() > deadline:
                return value
            time.sleep(0.1)

    def type(self, text):
        for character in text:
            self.call("Input.dispatchKeyEvent", type="keyDown", text=character, key=character)
            self.call("Input.dispatchKeyEvent", type="keyUp", key=character)

    def screenshot(self, path):
        data = self.call("Page.captureScreenshot", format="png")["data"]
        path.write_bytes(base64.b64decode(data))
