"""What ends the viewer's hands, on every desktop alike."""

import signal


class LettingGo:
    """A case brings `allow`, `hold`, which returns once a button, a modifier and a key of the viewer's are
    down, and `expect_release`."""

    def press(self):
        self.allow()
        self.agent.send('input {"t":"m","e":"down","x":0.5,"y":0.25,"b":0,"m":0}',
                        'input {"t":"k","c":16,"e":"down","m":1}',
                        'input {"t":"k","c":65,"e":"down","m":1}')

    def test_lets_go_when_input_is_withdrawn(self):
        self.hold()
        self.agent.send("deny-input")
        self.expect_release()

    def test_lets_go_when_the_session_stops(self):
        self.hold()
        self.agent.send("stop")
        self.expect_release()

    def test_lets_go_when_the_agent_is_killed(self):
        self.hold()
        self.agent.end(signal.SIGKILL)
        self.expect_release()
