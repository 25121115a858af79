"""A headless Chromium with the page in it, as a person would use it: files are dropped, keys are pressed."""
import base64
import json

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

DROP = """
const [files, done] = arguments, carried = new DataTransfer();
for (const [name, octets] of files) carried.items.add(new File([Uint8Array.from(atob(octets), c => c.charCodeAt(0))], name));
for (const type of ["dragenter", "dragover", "drop"])
  document.body.dispatchEvent(new DragEvent(type, { dataTransfer: carried, bubbles: true, cancelable: true }));
"""


class Browser:
    def __init__(self, page, chromium, driver):
        options = Options()
        options.binary_location = chromium
        for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--window-size=1280,900",
                         "--disable-background-networking", "--disable-component-update", "--no-first-run"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"performance": "ALL", "browser": "ALL"})
        self.driver = webdriver.Chrome(service=Service(driver), options=options)
        self.address = "file://" + page
        self.keys = lambda *keys: ActionChains(self.driver).send_keys(*keys).perform()

    def open(self, behind=""):
        """Loads the page anew, with `behind` in the address."""
        self.driver.get("about:blank")
        self.driver.get(self.address + behind)
        self.wait("document.documentElement.dataset.ready === 'yes'")

    def run(self, script, *arguments):
        return self.driver.execute_script(script, *arguments)

    def wait(self, condition, seconds=20):
        WebDriverWait(self.driver, seconds, poll_frequency=0.02).until(lambda _: self.run("return Boolean(" + condition + ")"),
                                                                      "waited in vain for " + condition)

    def find(self, selector):
        return self.driver.find_element(By.CSS_SELECTOR, selector)

    def text(self, selector):
        return self.run("return [...document.querySelectorAll(arguments[0])].map(e => e.textContent).join('\\n')", selector)

    def drop(self, **files):
        """Drops files, name=octets, of which one has a name with a dot: name_txt."""
        given = [(name.replace("_", "."), base64.b64encode(octets).decode()) for name, octets in files.items()]
        self.run("document.getElementById('notice').textContent = ''")
        self.run(DROP, given)
        self.wait("document.getElementById('notice').textContent")

    def type_in(self, text):
        """Types octets into the first field; they are read by themselves."""
        field = self.find("#input")
        field.clear()
        field.send_keys(text)

    def item(self, path):
        """The row of a field in the tree."""
        return self.run("return [...document.querySelectorAll('.item')].find(item => item.field.path === arguments[0])"
                        "?.querySelector('.row') ?? null", path)

    def lit(self):
        """The octets that are lit, and the path of the field that is."""
        return self.run("""
          const cells = [...document.querySelectorAll('.octet')];
          const on = cells.flatMap((cell, at) => cell.querySelector('.on, .part') ? [at] : []);
          return [on, document.querySelector('.item.on')?.field.path ?? ''];""")

    def point(self, element):
        ActionChains(self.driver).move_to_element(element).perform()

    def json(self):
        return json.loads(self.text("#json"))

    def octets(self):
        return self.text(".octet").replace("\n", "")

    def requests(self):
        """All that was asked for since the last call, but for the page itself."""
        events = (json.loads(entry["message"])["message"] for entry in self.driver.get_log("performance"))
        asked = [event["params"]["request"]["url"] for event in events if event["method"] == "Network.requestWillBeSent"]
        return [url for url in asked if not url.startswith((self.address, "data:"))]

    def complaints(self):
        return [entry["message"] for entry in self.driver.get_log("browser")]

    def close(self):
        self.driver.quit()
