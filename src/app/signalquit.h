#pragma once

class QCoreApplication;

/// Connects signalQuit() with the event loop of `application`; call it on the main thread before
/// installing the handler. False when the system has no file descriptors left for it.
bool prepareSignalQuit(QCoreApplication *application);

/// Signal handler: the application leaves its event loop as by QCoreApplication::quit(). A signal
/// that arrives before the loop runs ends it in its first turn. Async-signal-safe. The C library
/// discards a SIGINT that comes while system() runs a command; a SIGTERM always arrives.
void signalQuit(int signalNumber);
