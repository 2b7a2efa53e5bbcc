"""The session of a login screen, which is nobody's: its user is one of the system's own."""

from world import UNIT, World, main


class LoginScreen(World):
    person_is = ("greeter", 110)

    def test_has_no_job(self):
        self.begin_session()
        self.manager("start", UNIT)
        self.assertEqual((self.manager.state(), self.manager.show("ConditionResult")),
                         ("inactive", "no"))
        self.assertFalse(list(self.person.home.iterdir()))


if __name__ == "__main__":
    main()
