"""A real Chromium without a window, by its driver; conditions are waited for, never times."""
import os
import pathlib
import shutil
import sys

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.common.action_chains import ActionChains
    from selenium.webdriver.support.ui import WebDriverWait
except ImportError:
    SYSTEM = "/usr/bin/python3"  # packages of the system are not there for another Python
    if os.access(SYSTEM, os.X_OK) and sys.executable != SYSTEM:
        os.execv(SYSTEM, [SYSTEM, *sys.argv])
    print("not tested: there is no selenium")
    sys.exit(77)

CHROMIUM, DRIVER = shutil.which("chromium"), shutil.which("chromedriver")
WAIT_S = 30


class Browser:
    """One browser, with a page that it shows."""

    def __init__(self, width=1280, height=800):
        if not CHROMIUM or not DRIVER:
            print("not tested: there is no chromium with its driver")
            sys.exit(77)
        options = webdriver.ChromeOptions()
        options.binary_location = CHROMIUM
        for word in ["--headless=new", "--disable-dev-shm-usage", *(["--no-sandbox"] * (os.geteuid() == 0))]:
            options.add_argument(word)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.driver = webdriver.Chrome(service=Service(DRIVER), options=options)
        self.resize(width, height)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.driver.quit()

    def resize(self, width, height):
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})

    def prefer(self, theme):
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {
            "features": [{"name": "prefers-color-scheme", "value": theme}]})

    def open(self, url):
        self.driver.get(url)

    def run(self, script, *words):
        return self.driver.execute_script(script, *words)

    def wait(self, expression, *words):
        """The value of a JavaScript expression once it is true."""
        try:
            return WebDriverWait(self.driver, WAIT_S, poll_frequency=0.05).until(
                lambda _: self.run(f"return {expression}", *words))
        except Exception:
            shown = self.run("return document.body.innerText")
            print(f"FAILED: {expression} {words} did not become true; the page shows:\n{shown[:3000]}")
            sys.exit(1)

    def wait_text(self, selector, text):
        """Until the text is in an element of the selector."""
        self.wait("[...document.querySelectorAll(arguments[0])].some(e => e.textContent.includes(arguments[1]))",
                  selector, text)

    def find(self, selector):
        self.wait("document.querySelector(arguments[0])", selector)
        return self.driver.find_element("css selector", selector)

    def type(self, *keys):
        """Keys for whatever has the focus."""
        ActionChains(self.driver).send_keys(*keys).perform()

    def save(self, folder, name):
        file = pathlib.Path(folder, f"{name}.png")
        self.driver.save_screenshot(str(file))
        return file

    def errors(self):
        """What the page complained of, but for links that are gone."""
        return [entry["message"] for entry in self.driver.get_log("browser")
                if entry["level"] == "SEVERE" and "WebSocket connection to" not in entry["message"]]
