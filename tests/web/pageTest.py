#!/usr/bin/python3
"""pageTest.py PAGE PROGRAM CORPUS SAMPLES CHROMIUM DRIVER: the page in a browser, held against the program."""
import csv
import gzip
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

from selenium.webdriver.common.keys import Keys

from browser import Browser

PAGE, PROGRAM, CORPUS, SAMPLES, CHROMIUM, DRIVER = sys.argv[1:7]
csv.field_size_limit(1 << 24)
SLACK = float(os.environ.get("VELNOR_SPEED_SLACK", "1"))
REQUEST = "7e004171000d0109f1070000000000000000001002e060"
SUCI = "data.RegRequest5G.mobileId.suci.supiImsi"


def program(command, *arguments):
    done = subprocess.run([PROGRAM, command, *arguments], capture_output=True, text=True, check=True)
    return [json.loads(line) if line.startswith("{") else line for line in done.stdout.splitlines()]


def sample(name):
    return pathlib.Path(SAMPLES, name).read_bytes()


def rows(name):
    with open(pathlib.Path(CORPUS, name + ".tsv"), newline="") as file:
        return list(csv.DictReader(file, delimiter="\t", quoting=csv.QUOTE_NONE))


def messages():
    """60 messages of the corpus as lines, from all its files; every other names its type."""
    picked = []
    for name, count in (("ts24501", 14), ("ts24301", 14), ("ts24008", 14), ("ts44018", 10), ("ts24011", 4), ("malformed", 4)):
        all_rows = rows(name)
        picked += [all_rows[i * len(all_rows) // count] for i in range(count)]
    return [(row["form"] + " " if i % 2 or row["form"].startswith("TS44018") else "") + row["hex"] for i, row in enumerate(picked)]


class PageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.page = Browser(PAGE, CHROMIUM, DRIVER)
        cls.addClassCleanup(cls.page.close)

    def setUp(self):
        self.page.driver.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})
        self.page.open()
        self.page.requests(), self.page.complaints()

    def tearDown(self):
        self.assertEqual(self.page.requests(), [], "the page asked for something")
        self.assertEqual(self.page.complaints(), [])

    def each_as_json(self, count, **options):
        """The JSON of each message, going through the list with the keyboard."""
        page = self.page
        page.find("#tab-json").click()
        for option in options:
            page.find("#" + option).click()
        self.assertIn(f"{count} messages", page.text("#listTitle"))
        page.find("#rows").send_keys(Keys.HOME)
        told = []
        for i in range(count):
            page.wait(f"document.querySelector('#row-{i}')?.ariaSelected === 'true'")
            told.append(page.json() if page.text("#json") else None)
            page.find("#rows").send_keys(Keys.ARROW_DOWN)
        return told

    def test_messages_of_the_corpus_give_the_json_of_the_program(self):
        lines = "\n".join(messages())
        self.page.drop(lines_txt=lines.encode())
        told = self.each_as_json(60, jsonNames=True, jsonPlaces=True)
        with tempfile.NamedTemporaryFile("w", suffix=".txt") as file:
            file.write(lines)
            file.flush()
            expected = program("decode", "--json", "--names", "--positions", file.name)
        self.assertEqual(len(expected), 60)
        for line, one, other in zip(lines.splitlines(), told, expected):
            self.assertEqual(one, other, line)

    def test_record_and_trace_are_those_of_the_program(self):
        self.page.open("#up%20" + REQUEST)
        expected = subprocess.run([PROGRAM, "decode", "--dir", "up", "--trace", REQUEST], capture_output=True, text=True, check=True).stdout
        for view in ("record", "trace"):
            self.page.find("#tab-" + view).click()
            text = self.page.text("#" + view)
            self.assertGreater(len(text), 500)
            self.assertIn(text, expected)

    def test_a_capture_is_read_as_the_program_reads_it(self):
        self.page.drop(attach_pcap=sample("attach.pcap"))
        self.assertEqual(self.each_as_json(3), program("decode", "--json", str(pathlib.Path(SAMPLES, "attach.pcap"))))
        self.page.drop(cut_pcap=sample("attach.pcap")[:-3])
        self.assertRegex(self.page.text("#notice"), "damaged at octet [1-9]")
        self.assertIn("2 messages", self.page.text("#listTitle"))

    def test_several_files_stand_one_behind_the_other(self):
        self.page.drop(attach_pcap=sample("attach.pcap"), one_hex=b"7e005b01")
        self.page.wait("document.getElementById('listTitle').textContent.startsWith('4 messages')")
        self.page.find("#find").send_keys("7e005b")
        self.page.wait("document.querySelectorAll('.message').length === 1")
        self.assertIn("one.hex line 1", self.page.text(".message"))

    def test_octets_in_the_address_are_decoded_at_once(self):
        times = []
        for _ in range(5):
            self.page.open("#7e005b01")
            times.append(self.page.run("return performance.getEntriesByName('first-result')[0].startTime"))
        self.assertEqual(self.page.text("#title"), "Identity request")
        print(f"first result after {min(times):.0f} to {max(times):.0f} ms")
        self.assertLess(min(times), 300 * SLACK)
        self.page.run("location.hash = '#down%2007415308'")
        self.page.wait("document.getElementById('title').textContent !== 'Identity request'")

    def test_a_link_leads_back_to_the_message_as_it_was_read(self):
        page = self.page
        page.open("#dl%20dcch%20060d00c1")
        shown = page.text("#facts"), page.text("#tree")
        page.run("navigator.clipboard.writeText = async text => { window.copied = text }")
        page.find("#copyLink").click()
        link = page.run("return window.copied")
        self.assertTrue(link.startswith(page.address + "#"), link)
        page.open(link.removeprefix(page.address))
        self.assertEqual((page.text("#facts"), page.text("#tree")), shown)
        self.assertEqual(page.octets(), "060d00c1")

    def test_a_field_and_its_octets_light_up_both_ways(self):
        page = self.page
        page.open("#" + REQUEST)
        page.point(page.item(SUCI + ".schemeOutput"))
        self.assertEqual(page.lit(), [[14, 15, 16, 17, 18], SUCI + ".schemeOutput"])
        page.point(page.find(".octet:nth-of-type(5) i + i"))  # a row begins with its offset: the low half of octet 3
        self.assertEqual(page.lit(), [[3], "data.RegRequest5G.registrationType"])
        page.run("document.querySelector('#bits [data-bit=\"28\"]').dispatchEvent(new PointerEvent('pointermove', {bubbles: true}))")
        self.assertEqual(page.lit(), [[3], "data.RegRequest5G.registrationType.forBit"])
        self.assertIn("octet 3, bit 4", page.text("#place"))

    def test_a_changed_value_changes_the_octets(self):
        page, path = self.page, SUCI + ".schemeOutput"
        page.open("#" + REQUEST)
        page.item(path).click()
        page.keys(Keys.ENTER)
        page.keys("0a0B0c", Keys.ENTER)
        changed = program("decode", "--json", REQUEST)[0]
        changed["record"]["data"]["RegRequest5G"]["mobileId"]["suci"]["supiImsi"]["schemeOutput"] = "0a0b0c"
        with tempfile.NamedTemporaryFile("w", suffix=".json") as file:
            json.dump(changed, file)
            file.flush()
            expected = program("encode", file.name)[0]
        self.assertNotEqual(expected, REQUEST)
        self.assertEqual(page.octets(), expected)
        self.assertIn("changed", page.run("return document.querySelectorAll('.octet')[14].className"))
        page.find("#undo").click()
        self.assertEqual(page.octets(), REQUEST)

    def test_a_changed_message_keeps_what_is_not_known(self):
        self.page.open("#up%20" + REQUEST + "7a0003010203")  # an element 7A that no registration request has
        self.assertIn("unknown 0x7A7a 00 03 01 02 03", self.page.text(".row.kept"))
        self.assertIn("1 element kept unread", self.page.text("#facts"))
        self.page.point(self.page.find(".row.kept"))
        self.assertEqual(self.page.lit()[0], list(range(23, 29)))
        self.page.item("data.RegRequest5G.registrationType.forBit").find_element("css selector", ".value").click()
        self.assertEqual(self.page.octets(), REQUEST.replace("71", "79", 1) + "7a0003010203")

    def test_octets_that_no_field_says_are_remarked(self):
        self.page.open("#7e004179000bfa09f1070102c301020304")  # a GUTI with other spare bits
        self.assertIn("unusual: an encoder would write 00 0b f2 09 f1", self.page.text("#findings"))
        self.assertIn("unusual", self.page.item("data.RegRequest5G.mobileId").text)
        self.assertNotIn("kept unread", self.page.text("#facts"))

    def test_a_value_that_cannot_be_is_refused_with_the_reason(self):
        page = self.page
        page.open("#7e005b01")
        path = "data.IdentityRequest5G.identity.typeOfIdent"
        page.item(path).find_element("css selector", ".value").click()
        self.assertEqual(page.run("return [...document.querySelector('.row input').list.options].slice(0, 3).map(o => o.label)"),
                         ["0 none", "1 SUCI", "2 GUTI"])
        page.keys(Keys.ESCAPE)
        page.wait("!document.querySelector('.row input')")
        for typed, reason in (("9", "it takes 0 to 7"), ("x", "takes a number"), ("", "takes a number")):
            page.item(path).find_element("css selector", ".value").click()
            page.keys(Keys.BACKSPACE, typed, Keys.ENTER)
            self.assertIn(reason, page.text(".fault"))
            page.keys(Keys.ESCAPE)
            page.wait("!document.querySelector('.row input')")
        self.assertEqual(page.octets(), "7e005b01")

    def test_what_is_wrong_is_told_in_its_place(self):
        page = self.page
        page.drop(bad_txt=b"7e00 5b0\n05542d8b2c\n0f01\nTS9_None 00\n\n# nothing\n7e005b01")
        self.assertIn("5 messages, 4 bad", page.text("#listTitle"))
        for text in ("column 8: half an octet", "at ", "does not tell what the message is", "no type 'TS9_None'"):
            self.assertIn(text, page.text("#findings"))
            page.find("#rows").send_keys(Keys.ARROW_DOWN)
        self.assertEqual(page.text("#title"), "Identity request")
        page.drop(wide_txt="7e005b01".encode("utf-16"))
        self.assertIn("UTF-16", page.text("#notice"))
        page.drop(noise_bin=bytes(range(256)) * 1000)
        page.type_in("7e005b01")
        page.wait("document.getElementById('title').textContent === 'Identity request'")

    def test_keys_decipher_and_stay_in_the_page(self):
        page = self.page
        row = next(row for row in rows("security") if row["mac"] == "ok" and row["cipher_alg"] == "2" and row["form"] == "TS24501Msg_PDU")
        direction = "down" if row["direction"] == "1" else "up"
        page.open(f"#{direction}%20{row['hex']}")
        self.assertIn("no keys", page.text("#facts"))
        page.find("#keysButton").click()
        page.find("#integrityKey").send_keys("12")
        page.find("#useKeys").click()
        self.assertIn("32 hexadecimal digits", page.text("#keysProblem"))
        for field, value in (("integrityKey", row["integrity_key"]), ("cipherKey", row["cipher_key"]),
                             ("upCount", row["count"]), ("downCount", row["count"])):
            page.find("#" + field).clear()
            page.find("#" + field).send_keys(value)
        page.find("#useKeys").click()
        page.wait("document.getElementById('facts').textContent.includes('verified')")
        self.assertIn("deciphered", page.text("#octetsTitle"))
        self.assertIn(row["plain_inner"], page.octets())
        kept = page.run("return document.documentElement.outerHTML + location.href + document.cookie + JSON.stringify(history.state)")
        self.assertNotIn(row["cipher_key"], kept)
        self.assertEqual(page.run("try { return localStorage.length + sessionStorage.length } catch { return 0 }"), 0)
        page.find("#keysButton").click()
        page.find("#forgetKeys").click()
        page.wait("document.getElementById('facts').textContent.includes('no keys')")

    def test_counts_go_on_from_message_to_message_whichever_is_looked_at(self):
        page, keys = self.page, dict(line.split() for line in sample("protected-registration.keys").decode().splitlines() if line[0] != "#")
        page.drop(some_txt=sample("protected-registration.txt"))
        page.find("#rows").send_keys(Keys.END)
        page.find("#keysButton").click()
        page.find("#integrityKey").send_keys(keys["integrity-key"])
        page.find("#cipher").send_keys("null")
        page.find("#useKeys").click()
        for key in (Keys.HOME, Keys.END, Keys.HOME, Keys.ARROW_DOWN, Keys.ARROW_DOWN):
            page.wait("document.getElementById('facts').textContent.includes('verified')")
            page.find("#rows").send_keys(key)
        expected = program("decode", "--json", "--keys", str(pathlib.Path(SAMPLES, "protected-registration.keys")),
                           str(pathlib.Path(SAMPLES, "protected-registration.txt")))
        self.assertEqual(self.each_as_json(len(expected)), expected)

    def test_nothing_can_be_sent(self):
        ways = ["fetch('http://127.0.0.1:9/')", "new Promise((good, bad) => { const i = new Image(); i.onload = good; i.onerror = bad; i.src = 'http://127.0.0.1:9/a.png'; })",
                "new Promise((good, bad) => { const s = new WebSocket('ws://127.0.0.1:9/'); s.onerror = bad; s.onopen = good; })",
                "import('http://127.0.0.1:9/a.js')", "Promise.reject(navigator.sendBeacon('http://127.0.0.1:9/', 'a'))"]
        for way in ways:
            refused = self.page.driver.execute_async_script(
                "const done = arguments[0]; let refused = ''; document.addEventListener('securitypolicyviolation', e => refused = e.effectiveDirective);"
                f"try {{ Promise.resolve({way}).catch(() => 0).then(() => setTimeout(() => done(refused), 50)); }} catch {{ setTimeout(() => done(refused), 50); }}")
            self.assertTrue(refused, way)
        self.page.complaints()  # of the policy
        self.page.requests()    # none of which left

    def test_all_that_takes_the_focus_has_a_name(self):
        page = self.page
        page.drop(lines_txt=b"7e005b01\n" + REQUEST.encode())
        page.driver.execute_cdp_cmd("Accessibility.enable", {})
        nodes = page.driver.execute_cdp_cmd("Accessibility.getFullAXTree", {})["nodes"]
        focusable = [node for node in nodes if any(p["name"] == "focusable" and p["value"]["value"] for p in node.get("properties", []))]
        self.assertGreater(len(focusable), 20)
        nameless = [node["role"]["value"] for node in focusable if not node.get("name", {}).get("value") and node["role"]["value"] != "RootWebArea"]
        self.assertEqual(nameless, [])
        spoken = [node["name"]["value"] for node in nodes if node.get("role", {}).get("value") == "treeitem"]
        self.assertTrue(any("Type of identity, 1, SUCI, octet 3, bits 3 to 1" in name for name in spoken), spoken)

    def test_the_keyboard_alone_reaches_and_changes_a_value(self):
        page = self.page
        page.open("#7e005b01")
        page.run("document.getElementById('skip').focus()")
        page.keys(Keys.ENTER, Keys.END)
        self.assertEqual(page.lit()[1], "data.IdentityRequest5G.identity.typeOfIdent")
        page.keys(Keys.ENTER, "3", Keys.ENTER)
        self.assertEqual(page.octets(), "7e005b03")
        page.keys(Keys.ARROW_LEFT, Keys.ARROW_LEFT, Keys.ARROW_UP)  # to the identity, which closes, and to what is above
        self.assertEqual(page.lit()[1], "data.IdentityRequest5G.spare")
        page.run("document.querySelector('.octet').focus()")
        page.keys(Keys.ARROW_RIGHT, Keys.ARROW_RIGHT)
        self.assertEqual(page.lit(), [[2], "msgType"])

    def test_it_fits_a_phone_and_can_be_read_in_the_dark(self):
        page = self.page
        page.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {"width": 360, "height": 740, "deviceScaleFactor": 2, "mobile": True})
        page.drop(lines_txt=b"7e005b01\n" + REQUEST.encode())
        self.assertLessEqual(page.run("return document.documentElement.scrollWidth"), 360)
        for scheme in ("light", "dark"):
            page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [{"name": "prefers-color-scheme", "value": scheme}]})
            for selector in ("#title", ".row .value", ".message .more", ".row .clause", "#facts .fact"):
                ratio = page.run(CONTRAST, selector)
                self.assertGreater(ratio, 4.5, f"{selector} in the {scheme}")

    def test_a_hundred_thousand_lines_are_listed(self):
        self.page.drop(many_txt=b"7e005b01\n" * 100000)
        self.page.wait("document.getElementById('rowsRoom').offsetHeight === 100000 * 44", 120)
        self.page.find("#rows").send_keys(Keys.END)
        self.page.wait("document.getElementById('row-99999')")
        self.assertLess(self.page.run("return document.querySelectorAll('.message').length"), 60)

    def test_the_page_is_small(self):
        packed = len(gzip.compress(pathlib.Path(PAGE).read_bytes()))
        print(f"{os.path.getsize(PAGE)} octets, compressed {packed}")
        self.assertLess(packed, 1500000)


# How much lighter the one of text and ground is, as the guidelines for accessible content count it.
CONTRAST = """
const light = colour => {
  const [r, g, b] = colour.match(/[\\d.]+/g).map(Number).map(v => v / 255).map(v => v <= 0.04045 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4);
  return 0.2126 * r + 0.7152 * g + 0.0722 * b;
};
const element = document.querySelector(arguments[0]);
let ground = element;
while (getComputedStyle(ground).backgroundColor === 'rgba(0, 0, 0, 0)') ground = ground.parentElement;
const [a, b] = [getComputedStyle(element).color, getComputedStyle(ground).backgroundColor].map(light).sort((x, y) => y - x);
return (a + 0.05) / (b + 0.05);"""

if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[7:], verbosity=2)
