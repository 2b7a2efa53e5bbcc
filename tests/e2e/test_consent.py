"""The question to the person, from the agent's request to the answer that the agent hears."""

import signal

import harness
from harness import wait_until
from sessions import AWAITING, DENIED, STARTING, Person


class Consent(Person):
    def setUp(self):
        super().setUp()
        self.start_window_manager("openbox")
        self.agent = self.start_agent()
        self.program = self.start_program()
        self.agent.next_message()

    def ask(self, *lines):
        self.agent.send(*lines, {"op": "start", "viewer": "Anna", "consent": True})
        self.assertEqual(self.agent.next_message(), AWAITING)
        wait_until(self.alerts, "the alert is on the screen")

    def test_return_allows(self):
        self.ask()
        self.answer("Return")
        self.assertEqual(self.agent.next_message(), STARTING)

    def test_escape_denies(self):
        self.ask()
        self.answer("Escape")
        self.assertEqual(self.agent.next_message(), DENIED)

    def test_closing_the_window_denies(self):
        self.ask()
        self.answer("alt+F4")
        self.assertEqual(self.agent.next_message(), DENIED)

    def test_the_viewer_cannot_answer(self):
        self.ask("allow-input")
        return_key = ('input {"t":"k","c":13,"e":"down"}', 'input {"t":"k","c":13,"e":"up"}')
        self.agent.send("pause 1", *return_key, "move 0.5 0.5", "click", *return_key)
        # The agent carries its commands out in order, so this is answered after all of them.
        self.agent.send("viewer Bo")
        self.agent.wait_a_second()
        self.assertTrue(self.alerts())
        self.assertTrue(self.agent.has_no_message())
        self.answer("Escape")
        self.assertEqual(self.agent.next_message(), DENIED)

    def test_messages_wait_for_the_answer(self):
        self.ask({"op": "nothing"})
        self.agent.send("stop", {"op": "start", "consent": True, "viewer": "Bo"})
        self.answer("Escape")
        self.assertEqual(self.agent.next_message(), DENIED)
        self.assertEqual(self.agent.next_message(), AWAITING)
        wait_until(self.alerts, "the second alert is on the screen")
        self.answer("Escape")
        self.assertEqual(self.agent.next_message(), DENIED)

    def test_outlives_an_agent_that_is_lost_during_the_question(self):
        self.ask()
        self.agent.end(signal.SIGKILL)
        self.answer("Escape")
        agent = self.start_agent()
        self.assertEqual(agent.next_message()["op"], "hello")
        self.assertTrue(self.program.is_running())


if __name__ == "__main__":
    harness.main()
