"""Where everything stands on the screen, to the pixel, and in which colours."""

import unittest

import stage
from film import FILL, TRACK, Film, bar_row, runs
from recogniser import FOCUS
from stage import Play, on_stage
from viewer import DOCUMENTS, Viewer

GREY, BLACK, BLUE = (0x8A, 0x8A, 0x8A), (0, 0, 0), (0, 0, 255)
WELCOME, CHECKING = "Welcome to updater", "Checking for updates"
HOLD_ON = "Please do not remove the usb drive or power off the device"
QUESTION = "Are you sure you want to update the system from 3.4.0 to 3.5.0?"
ICON_HEIGHT = 36
STRIPE = 20


def box(frame, fits, area=None):
    """The smallest (left, top, right, bottom) around the pixels that fit, right and bottom beyond."""
    left, top, right, bottom = area or (0, 0, frame.width, frame.height)
    part = frame.crop(left, top, right, bottom)
    hits = [divmod(at, part.width) for at, colour in enumerate(part.pixels()) if fits(*colour)]
    if not hits:
        return None
    rows, columns = zip(*hits)
    return left + min(columns), top + min(rows), left + max(columns) + 1, top + max(rows) + 1


def is_ink(*colour):
    return min(colour) > 160


def is_coloured(*colour):
    return max(colour) - min(colour) > 60


def of_colour(wanted):
    return lambda *colour: colour == wanted


class GeometryTest(unittest.TestCase):

    @classmethod
    def setUpClass(cls):
        with Viewer(DOCUMENTS / "labels.qml") as viewer:
            texts = (WELCOME, HOLD_ON, QUESTION, CHECKING)
            frame = viewer.show(message="\n".join(texts))
        cls.labels = {text: measured_label(frame, number) for number, text in enumerate(texts)}
        with Viewer(DOCUMENTS / "icons.qml") as viewer:
            cls.icons = viewer.show()

    def assert_label(self, frame, text, top=None, bottom=None):
        """The ink of a text lies as in a centred label whose upper or lower edge is given."""
        width, height, ink = self.labels[text]
        left = (frame.width - width) / 2
        top = bottom - height if top is None else top
        found = box(frame, is_ink, (0, top, frame.width, top + height))
        self.assertEqual(found[1::2], (top + ink[1], top + ink[3]), text)
        for place, wanted in zip(found[::2], (left + ink[0], left + ink[2])):
            self.assertAlmostEqual(place, wanted, delta=1.5, msg=text)

    def test_smallest_window(self):
        with on_stage(Play(initialize_ms=1500)) as running, Film(running.screen) as film:
            welcome = film.wait_for(lambda view: view.bar).frame
            running.screen.give_focus()
            confirm = film.wait_for(lambda view: view.focus == "yes").frame
            running.screen.key("Right")
            no = film.wait_for(lambda view: view.focus == "no").frame
        self.assert_bar(welcome, (160, 228, 640, 252))
        self.assert_label(welcome, WELCOME, bottom=216)
        self.assert_label(confirm, QUESTION, bottom=240)
        self.assert_label(confirm, HOLD_ON, top=140)
        self.assert_background(confirm)
        self.assert_focus_frame(confirm, (0, 432, 398, 480))
        self.assert_focus_frame(no, (403, 432, 800, 480))
        for frame in (welcome, confirm, no):
            self.assert_pair(frame)

    def test_button(self):
        with on_stage(Play(())) as running, Film(running.screen) as film:
            film.wait_for(lambda view: view.button)
            running.screen.give_focus()
            frame = film.wait_for(lambda view: view.focus == "button").frame
        self.assert_focus_frame(frame, (0, 432, 800, 480))
        self.assert_icon(frame, is_ink, self.icon(400, 528, is_ink), (6, 6 + ICON_HEIGHT * 128 / 126), 126)
        caption = box(frame, is_ink, (100, 436, 700, 476))
        self.assertAlmostEqual((caption[0] + caption[2]) / 2, 400, delta=1.5)
        self.assertAlmostEqual((caption[1] + caption[3]) / 2, 456, delta=2)

    def test_larger_window(self):
        with on_stage(Play(size=(1280, 800), initialize_ms=1500)) as running, Film(running.screen) as film:
            welcome = film.wait_for(lambda view: view.bar).frame
            running.screen.give_focus()
            confirm = film.wait_for(lambda view: view.focus == "yes").frame
        self.assert_bar(welcome, (256, 380, 1024, 420))
        self.assert_label(welcome, WELCOME, bottom=360)
        self.assert_label(confirm, QUESTION, bottom=400)
        self.assert_label(confirm, HOLD_ON, top=140)
        self.assert_background(confirm)
        self.assert_focus_frame(confirm, (0, 720, 638, 800))

    def assert_bar(self, frame, place):
        """The busy bar fills its place with whole stripes of both colours in turn."""
        above = (0, 0, frame.width, round(0.9 * frame.height))
        self.assertEqual(box(frame, lambda *colour: colour in (TRACK, FILL), above), place)
        middle = runs(bar_row(frame))
        self.assertLessEqual({colour for colour, _ in middle}, {TRACK, FILL})
        for y in range(place[1], place[3]):
            row = frame.crop(place[0], y, place[2], y + 1).pixels()
            self.assertEqual(runs(row), middle, f"row {y}")
        self.assertEqual({length for _, length in middle[1:-1]}, {STRIPE})
        self.assertLessEqual(max(middle[0][1], middle[-1][1]), STRIPE)

    def assert_background(self, frame):
        """Grey in the centre, black from half the width and height on, even in between."""
        width, height = frame.width, frame.height
        for x in (0, width - 1):
            self.assertEqual(frame.pixel(x, 0), BLACK)
        for part in (0, 0.25, 0.5, 0.75, 0.99):
            grey = GREY[0] * (1 - part)
            for x, y in ((0.5 + part / 2, 0.51), (0.5 - part / 2, 0.51), (0.5, 0.51 + part * 0.39)):
                distance = ((2 * x - 1) ** 2 + (2 * y - 1) ** 2) ** 0.5
                grey = max(0, GREY[0] * (1 - distance))
                colour = frame.pixel(min(round(x * width), width - 1), round(y * height))
                for channel in colour:
                    self.assertAlmostEqual(channel, grey, delta=2, msg=f"at {x:.2f}, {y:.2f}")

    def assert_focus_frame(self, frame, place):
        left, top, right, bottom = place
        self.assertEqual(box(frame, of_colour(FOCUS)), place)
        for inset in range(6):
            corner = frame.pixel(left + inset, top + inset), frame.pixel(right - 1 - inset, bottom - 1 - inset)
            self.assertEqual([colour == FOCUS for colour in corner], [inset < 4] * 2, f"{inset} px inside")

    def assert_pair(self, frame):
        for centre, area, natural_height in ((198.75, (0, 128), 41), (601.25, (200, 328), 26)):
            natural = self.icon(*area, is_coloured)
            width = ICON_HEIGHT * {41: 53, 26: 28}[natural_height] / natural_height
            self.assert_icon(frame, is_coloured_icon, natural, (centre - width / 2, centre + width / 2),
                             natural_height)

    def icon(self, left, right, fits):
        """The ink of an icon of natural size, from its own left edge."""
        found = box(self.icons, fits, (left, 0, right, 130))
        return found[0] - left, found[1], found[2] - left, found[3]

    def assert_icon(self, frame, fits, natural, place, natural_height):
        """The ink lies where the icon, fitted into ICON_HEIGHT, has it."""
        scale, top = ICON_HEIGHT / natural_height, 438
        left, right = place
        found = box(frame, fits, (round(left) - 2, top - 2, round(right) + 2, top + ICON_HEIGHT + 2))
        wanted = (left + natural[0] * scale, top + natural[1] * scale,
                  left + natural[2] * scale, top + natural[3] * scale)
        for got, want in zip(found, wanted):
            self.assertAlmostEqual(got, want, delta=1.6, msg=f"{found} for {wanted}")

    def test_disabled_icons_are_grey(self):
        # The one in the middle of a button shines through its grey copy at soft edges.
        for name, enabled, disabled, trace in (
                ("pair", (0, 200, 800, 248), (0, 300, 800, 348), 2),
                ("in the middle", (0, 400, 400, 448), (400, 400, 800, 448), 60)):
            with self.subTest(name):
                self.assertIsNotNone(box(self.icons, is_coloured, enabled))
                self.assertIsNone(box(self.icons, lambda *colour: max(colour) - min(colour) > trace, disabled))
                self.assertIsNotNone(box(self.icons, lambda *colour: min(colour) > 60, disabled))


def is_coloured_icon(*colour):
    return is_coloured(*colour) and colour != FOCUS


def measured_label(frame, number):
    """Width and height of the number-th label of labels.qml, and its ink relative to it."""
    rows = [BLUE in frame.crop(0, y, frame.width, y + 1).pixels() for y in range(frame.height)]
    edges = [y for y in range(frame.height) if rows[y] != (y > 0 and rows[y - 1])]
    area = (0, edges[2 * number], frame.width, edges[2 * number + 1])
    blue = box(frame, of_colour(BLUE), area)
    return blue[2], area[3] - area[1], ink_of(frame, area)


def ink_of(frame, area):
    left, top, right, bottom = box(frame, is_ink, area)
    return left, top - area[1], right, bottom - area[1]


if __name__ == "__main__":
    stage.main()
