// Runs in the emulated instrument: makes QEMU's tablet a touch screen, on which a finger lies while
// the tablet's left button is held down.

#include <linux/input.h>
#include <linux/uinput.h>

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr int lastFinger = 9;
constexpr int lastContact = 65535;
constexpr char screenName[] = "Instrument touch screen";

/// The tablet, taken away from everybody else; -1 when there is none.
int openTablet()
{
    for (int number = 0; number < 32; ++number) {
        const std::string path = "/dev/input/event" + std::to_string(number);
        const int device = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        char name[128] = "";
        if (device >= 0 && ioctl(device, EVIOCGNAME(sizeof name - 1), name) > 0
            && strstr(name, "Tablet") && ioctl(device, EVIOCGRAB, 1) == 0)
            return device;
        if (device >= 0)
            close(device);
    }
    return -1;
}

/// An axis of the tablet as it stands, with its range.
input_absinfo axisOf(int tablet, int axis)
{
    input_absinfo found = {};
    ioctl(tablet, EVIOCGABS(axis), &found);
    return found;
}

class TouchScreen
{
public:
    /// A screen with the tablet's ranges; check isMade().
    explicit TouchScreen(int tablet)
        : m_device(open("/dev/uinput", O_WRONLY | O_CLOEXEC))
    {
        uinput_setup setup = {};
        setup.id.bustype = BUS_VIRTUAL;
        memcpy(setup.name, screenName, sizeof screenName);
        ioctl(m_device, UI_SET_PROPBIT, INPUT_PROP_DIRECT);
        ioctl(m_device, UI_SET_EVBIT, EV_KEY);
        ioctl(m_device, UI_SET_KEYBIT, BTN_TOUCH);
        addAxis(ABS_X, axisOf(tablet, ABS_X).maximum);
        addAxis(ABS_Y, axisOf(tablet, ABS_Y).maximum);
        addAxis(ABS_MT_POSITION_X, axisOf(tablet, ABS_X).maximum);
        addAxis(ABS_MT_POSITION_Y, axisOf(tablet, ABS_Y).maximum);
        addAxis(ABS_MT_SLOT, lastFinger);
        addAxis(ABS_MT_TRACKING_ID, lastContact);
        m_isMade = ioctl(m_device, UI_DEV_SETUP, &setup) == 0
                && ioctl(m_device, UI_DEV_CREATE) == 0;
    }

    bool isMade() const { return m_isMade; }

    /// Puts the finger on a place, or moves it there.
    void touch(int x, int y)
    {
        if (!m_isTouched) {
            m_contact = (m_contact + 1) & lastContact;
            send(EV_ABS, ABS_MT_TRACKING_ID, m_contact);
            send(EV_KEY, BTN_TOUCH, 1);
        }
        m_isTouched = true;
        send(EV_ABS, ABS_MT_POSITION_X, x);
        send(EV_ABS, ABS_MT_POSITION_Y, y);
        send(EV_ABS, ABS_X, x);
        send(EV_ABS, ABS_Y, y);
        send(EV_SYN, SYN_REPORT, 0);
    }

    /// Lifts the finger, if it lies on the screen.
    void lift()
    {
        if (!m_isTouched)
            return;
        m_isTouched = false;
        send(EV_ABS, ABS_MT_TRACKING_ID, -1);
        send(EV_KEY, BTN_TOUCH, 0);
        send(EV_SYN, SYN_REPORT, 0);
    }

private:
    void addAxis(int axis, int maximum)
    {
        uinput_abs_setup setup = {};
        setup.code = static_cast<__u16>(axis);
        setup.absinfo.maximum = maximum;
        ioctl(m_device, UI_SET_EVBIT, EV_ABS);
        ioctl(m_device, UI_ABS_SETUP, &setup);
    }

    void send(int type, int code, int value)
    {
        input_event event = {};
        event.type = static_cast<__u16>(type);
        event.code = static_cast<__u16>(code);
        event.value = value;
        if (write(m_device, &event, sizeof event) != sizeof event)
            perror("touchscreen");
    }

    const int m_device;
    bool m_isMade = false;
    bool m_isTouched = false;
    int m_contact = 0;
};

/// Passes on what the tablet reports, until it has gone.
void follow(int tablet, TouchScreen &screen)
{
    int x = axisOf(tablet, ABS_X).value;
    int y = axisOf(tablet, ABS_Y).value;
    bool isDown = false;
    input_event event = {};
    while (read(tablet, &event, sizeof event) == sizeof event) {
        if (event.type == EV_ABS && event.code == ABS_X)
            x = event.value;
        else if (event.type == EV_ABS && event.code == ABS_Y)
            y = event.value;
        else if (event.type == EV_KEY && event.code == BTN_LEFT)
            isDown = event.value != 0;
        else if (event.type == EV_SYN && isDown)
            screen.touch(x, y);
        else if (event.type == EV_SYN)
            screen.lift();
    }
}

} // namespace

int main()
{
    const int tablet = openTablet();
    if (tablet < 0) {
        fputs("touchscreen: there is no tablet\n", stderr);
        return 1;
    }
    TouchScreen screen(tablet);
    if (!screen.isMade() || daemon(0, 1) != 0) {
        perror("touchscreen");
        return 1;
    }
    follow(tablet, screen);
    return 0;
}
