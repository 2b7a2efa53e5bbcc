"""Nothing that the viewer holds when the question is put answers it."""

import harness
from sessions import DENIED, STARTING, HoldingViewer

RETURN, SHIFT, ESCAPE, SPACE = 13, 16, 27, 32


class Held(HoldingViewer):
    def expect_no_answer(self):
        # Longer than the server waits before it repeats a key, and then dozens of repeats.
        self.agent.send("pause 2", "help")
        self.agent.wait_for_note("startreading")
        self.assertTrue(self.alerts())
        self.assertTrue(self.agent.has_no_message())

    def expect_the_person_to_decide(self, held, key, answer, modifiers=0):
        self.ask_while_holding(held, modifiers)
        self.expect_no_answer()
        self.answer(key)
        self.assertEqual(self.agent.next_message(), answer)

    def test_return(self):
        self.expect_the_person_to_decide(RETURN, "Return", STARTING)

    def test_space(self):
        self.expect_the_person_to_decide(SPACE, "space", STARTING)

    def test_escape(self):
        self.expect_the_person_to_decide(ESCAPE, "Escape", DENIED)

    def test_shift(self):
        self.expect_the_person_to_decide(SHIFT, "Return", STARTING, modifiers=1)


if __name__ == "__main__":
    harness.main()
