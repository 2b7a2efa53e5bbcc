"""A viewer in a real browser on a display of its own, watching the real program on another one."""

import base64
import contextlib
import functools
import os
import pathlib
import re
import signal
import subprocess
import tempfile
import unittest

import harness
from sessions import Person
from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By

# A question to the page takes a driver and a browser some milliseconds of a processor.
wait_until = functools.partial(harness.wait_until, every=0.05)
PICTURES = os.environ.get("VESK_PAGE_PICTURES")  # a folder to leave pictures of the page in


def pages():
    """The processes of all pages; in this namespace they are ours."""
    for arguments in pathlib.Path("/proc").glob("[0-9]*/cmdline"):
        with contextlib.suppress(OSError):  # it has just ended
            if b"--type=renderer" in arguments.read_bytes():
                yield int(arguments.parent.name)


class Browser:
    """A Chromium that fills a display, with the hands of somebody who sits at that display."""

    def __init__(self, display, home):
        self._environment = {"PATH": os.environ["PATH"], "HOME": home, "DISPLAY": display,
                             "XDG_RUNTIME_DIR": home, "LC_ALL": "C.UTF-8"}
        options = webdriver.ChromeOptions()
        options.binary_location = "/usr/bin/chromium"
        for argument in ("--no-sandbox", "--disable-gpu", "--no-first-run", "--start-maximized",
                         "--disable-background-networking", "--disable-component-update",
                         "--disable-extensions", "--disable-sync", "--force-color-profile=srgb",
                         "--renderer-process-limit=1",
                         f"--user-data-dir={home}/browser"):
            options.add_argument(argument)
        # What is no business of a test: that a driver is at work, and a question about a translation.
        options.add_experimental_option("excludeSwitches", ["enable-automation"])
        options.add_experimental_option("prefs", {"translate.enabled": False})
        self.driver = webdriver.Chrome(
            service=Service("/usr/bin/chromedriver", env=self._environment), options=options)
        self.driver.set_script_timeout(harness.PATIENCE)

    def close(self):
        self.driver.quit()

    def hands(self, *arguments):
        """Does with the mouse and the keys of this display what xdotool is told."""
        subprocess.run(["xdotool", *map(str, arguments)], env=self._environment, check=True,
                       timeout=harness.PATIENCE)

    def copy(self, text):
        """Puts a text into the clipboard of this display, as another program there does."""
        subprocess.run(["xclip", "-selection", "clipboard"], env=self._environment, check=True,
                       input=text, encoding="utf-8", stdout=subprocess.DEVNULL,
                       timeout=harness.PATIENCE)

    def new_tab(self):
        self.driver.switch_to.new_window("tab")

    def close_tab(self):
        """Of two, and the other one is shown."""
        self.driver.switch_to.window(self.driver.window_handles[1])
        self.driver.close()
        self.show_first_tab()

    def show_first_tab(self):
        self.driver.switch_to.window(self.driver.window_handles[0])

    def prefer(self, scheme):
        """Light or dark colours, or neither of them where it is empty."""
        self.command("Emulation.setEmulatedMedia",
                     features=[{"name": "prefers-color-scheme", "value": scheme}])

    def run(self, script, *arguments):
        return self.driver.execute_script(script, *arguments)

    def command(self, name, **parameters):
        """One of the browser's own commands (DevTools)."""
        return self.driver.execute_cdp_cmd(name, parameters)

    @contextlib.contextmanager
    def halted_page(self):
        """No page does anything meanwhile."""
        processes = list(pages())
        for process in processes:
            os.kill(process, signal.SIGSTOP)
        try:
            yield
        finally:
            for process in processes:
                os.kill(process, signal.SIGCONT)

    def picture(self, name):
        if PICTURES:
            pathlib.Path(PICTURES).mkdir(parents=True, exist_ok=True)
            self.driver.save_screenshot(f"{PICTURES}/{name}.png")


class Page:
    """What a viewer sees of the page and presses on it."""

    def __init__(self, browser):
        self._browser = browser

    def element(self, name):
        return self._browser.driver.find_element(By.ID, name)

    def text(self, name):
        return self._browser.run("return document.getElementById(arguments[0]).textContent", name)

    def click(self, name):
        self.element(name).click()

    def brief(self):
        return self.text("status-words")

    def wait_for(self, brief):
        wait_until(lambda: self.brief() == brief, f"the page says: {brief}")

    def is_watching(self):
        return self._browser.run("return !document.getElementById('canvas').hidden")

    def area(self):
        """Where the picture is on the viewer's display: left, top, width, height."""
        return self._browser.run(
            "const area = document.getElementById('canvas').getBoundingClientRect();"
            "return [area.left + screenX + (outerWidth - innerWidth) / 2,"
            "        area.top + screenY + outerHeight - innerHeight, area.width, area.height]")

    def place(self, x, y):
        """The viewer's place of a fraction of the picture."""
        left, top, width, height = self.area()
        return round(left + x * width), round(top + y * height)

    def save_canvas(self, path):
        """The picture as the browser has decoded it."""
        data = self._browser.run(
            "return document.getElementById('canvas').toDataURL('image/png').split(',')[1]")
        path.write_bytes(base64.b64decode(data))

    def figure(self, name):
        return self.text(f"figure-{name}")


class Viewing(Person):
    """The program and the agent with its page; one browser for all tests of a file, which a test of
    any class finds as the one before has left it. A page is a test's own by its agent's port and key."""

    manager = "openbox"  # the person's
    browser = None

    @classmethod
    def setUpClass(cls):
        if Viewing.browser is None:
            Viewing.start_browser()

    @staticmethod
    def start_browser():
        folder = tempfile.TemporaryDirectory(prefix="vesk-viewer-", ignore_cleanup_errors=True)
        unittest.addModuleCleanup(folder.cleanup)
        home = folder.name
        server = harness.XServer("1700x960x24", ("+extension", "GLX"))
        unittest.addModuleCleanup(server.end)
        manager = harness.Child(["openbox"], {"DISPLAY": server.display, "HOME": home,
                                              "PATH": os.environ["PATH"]})
        unittest.addModuleCleanup(manager.end)
        Viewing.browser = Browser(server.display, home)
        unittest.addModuleCleanup(Viewing.browser.close)
        Viewing.viewer_display = server.display

    def setUp(self):
        super().setUp()
        if self.manager:
            self.start_window_manager(self.manager)
        self.page = Page(self.browser)
        self.start_page_agent()

    def start_page_agent(self, port=0):
        self.agent = self.start_agent(f"--page={port}" if port else "--page")
        note = self.agent.wait_for_note("page: ")
        self.address = re.search(r"http://\S+", note)[0]
        self.port = int(re.search(r":(\d+)/", self.address)[1])
        return self.agent

    def show_page(self, brief="Ready"):
        """The page as a viewer who was given the address sees it."""
        self.browser.driver.get(self.address)
        self.page.wait_for(brief)

    def greet(self):
        self.program = self.start_program()
        self.assertEqual(self.agent.next_message()["op"], "hello")

    def choose(self, name, chosen):
        """A switch of the panel."""
        switch = self.page.element(name)
        if switch.is_selected() != chosen:
            switch.click()

    def watch(self, consent=False):
        """Up to the first picture."""
        self.greet()
        self.show_page()
        self.choose("consent", consent)
        self.page.click("start")
        if not consent:
            wait_until(self.page.is_watching, "a picture is on the page")
            self.page.wait_for("Watching")
