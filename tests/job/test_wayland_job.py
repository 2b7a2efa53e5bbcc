"""The job in a session that has a compositor and no X server, all of it an ordinary user's."""

import signal

import world  # first: it knows where the harness lies
import wayland
from harness import wait_until
from world import World

START_JOB = "/usr/libexec/vesk-remote/start-job"


class OnACompositor(World):
    def setUp(self):
        super().setUp()
        self.agent = self.listen()
        self.sway = self.start(wayland.Sway, self.person.runtime, (), self.person.rights())

    def begin(self):
        """What a line of the compositor's configuration does."""
        result = self.person.run(START_JOB, WAYLAND_DISPLAY=self.sway.display)
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))

    def test_a_whole_session_under_the_job_that_keeps_the_program_in(self):
        self.begin()
        self.agent.connect()
        self.run_session(self.agent, input=True)
        before = len(self.sway.ask("get_inputs"))
        self.agent.say_input(**world.SHIFT_DOWN)
        wait_until(lambda: len(self.sway.ask("get_inputs")) > before, "the viewer has a keyboard")
        self.agent.say(op="stop")
        wait_until(lambda: len(self.sway.ask("get_inputs")) == before, "it is gone")
        self.assertIn("The desktop is a Wayland compositor of the wlroots kind.", self.log())

    def test_comes_back_after_it_was_killed(self):
        self.begin()
        self.agent.connect()
        program = self.manager.program()
        world.os.kill(program, signal.SIGKILL)
        wait_until(lambda: self.manager.program() not in (0, program), "the job runs again")

    def test_says_in_one_line_that_the_compositor_is_gone_and_tries_again(self):
        self.begin()
        self.agent.connect()
        self.sway.end(signal.SIGKILL)
        wait_until(lambda: [line for line in self.journal.said_by("vesk-remote")
                            if line.startswith("vesk-remote: no display: ")], "it says so")


if __name__ == "__main__":
    world.main()
