"""What a viewer reads on the page, from the key to the end, with the real program behind it."""

import signal

import harness
from viewing import Viewing, wait_until


class States(Viewing):
    def wait_for_title(self, title):
        wait_until(lambda: self.page.text("card-title") == title, f"the page says: {title}")

    def picture(self, name):
        """Of the page in both of its looks."""
        for scheme in ("light", "dark"):
            self.browser.prefer(scheme)
            self.browser.picture(f"{name}-{scheme}")
        self.browser.prefer("")

    def test_without_the_program(self):
        self.show_page("No program")
        self.assertFalse(self.page.element("start").is_enabled())
        self.picture("no-program")
        self.greet()
        self.page.wait_for("Ready")
        self.picture("ready")

    def test_with_a_wrong_key(self):
        self.address = self.address[:-4] + "AAAA"
        self.show_page("Refused")
        self.wait_for_title("This address no longer opens the session")
        self.picture("wrong-key")

    def test_the_person_refuses(self):
        self.watch(consent=True)
        self.page.wait_for("Waiting for consent")
        wait_until(self.alerts, "the person is asked")
        self.picture("asking")
        self.browser.driver.refresh()
        self.page.wait_for("Waiting for consent")
        self.answer("Escape")
        self.page.wait_for("Not allowed")
        self.picture("denied")
        self.page.click("card-action")
        self.page.wait_for("Waiting for consent")
        wait_until(self.alerts, "the person is asked again")
        self.answer("Return")
        wait_until(self.page.is_watching, "a picture is on the page")

    def test_a_reload_goes_on_watching(self):
        self.watch()
        self.browser.driver.refresh()
        wait_until(self.page.is_watching, "a picture is on the page again")
        self.page.wait_for("Watching")
        self.assertEqual(self.agent.next_message()["op"], "state")
        self.assertEqual(self.agent.next_message()["op"], "started")
        self.assertTrue(self.agent.has_no_message())

    def test_a_second_tab_is_turned_away(self):
        self.watch()
        self.browser.new_tab()
        self.addCleanup(self.browser.close_tab)
        self.show_page("Refused")
        self.wait_for_title("Somebody is watching already")
        self.picture("occupied")
        self.browser.show_first_tab()
        self.assertTrue(self.page.is_watching())
        decoded = int(self.page.figure("decoded"))
        wait_until(lambda: int(self.page.figure("decoded")) > decoded, "the first one goes on")

    def test_the_agent_ends_and_comes_again(self):
        self.watch()
        self.agent.end(signal.SIGTERM)
        self.page.wait_for("Connection lost")
        self.picture("agent-gone")
        # Another agent has another key, also where it listens at the same port.
        self.start_page_agent(self.port)
        self.page.wait_for("Refused")
        self.assertEqual(self.agent.next_message()["op"], "hello")
        self.show_page()

    def test_the_program_ends_and_comes_again(self):
        self.watch()
        self.program.end()
        self.page.wait_for("No program")
        self.assertFalse(self.page.is_watching())
        self.program = self.start_program()
        self.page.wait_for("Ready")
        self.page.click("start")
        wait_until(self.page.is_watching, "a picture is on the page again")

    def test_looks_as_the_viewer_prefers(self):
        self.watch()
        paper = {}
        for scheme in ("light", "dark"):
            self.browser.prefer(scheme)
            colour = self.browser.run("return getComputedStyle(document.body).backgroundColor")
            paper[scheme] = sum(map(int, colour.strip("rgb()").split(",")))
            self.browser.picture(f"watching-{scheme}")
        self.browser.prefer("")
        self.assertGreater(paper["light"], 3 * 200)
        self.assertLess(paper["dark"], 3 * 60)


if __name__ == "__main__":
    harness.main()
