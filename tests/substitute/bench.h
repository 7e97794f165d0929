// A folder with a settings file, images and the board's state, for the substitute to work in.
#pragma once

#include "vrk-embedded-api.h"

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

#include <sstream>

/// Everything written to std::cout while it lives.
class CapturedOutput
{
public:
    CapturedOutput();
    ~CapturedOutput();
    QByteArray text() const { return QByteArray::fromStdString(m_text.str()); }

private:
    Q_DISABLE_COPY(CapturedOutput)
    std::ostringstream m_text;
    std::streambuf *m_previous;
};

class Bench
{
public:
    Bench();

    QString path(const char *name) const;
    QByteArray write(const char *name, const QByteArray &content) const; ///< returns the path
    QByteArray read(const char *name) const;

    /// Initialises the library with the given INI text, without its delays.
    VRK_ResultCode start(const QByteArray &settings = {}) const;

    /// The board's version as a program that starts now sees it.
    QByteArray versionAfterRestart() const;

private:
    QTemporaryDir m_folder;
};

QByteArray boardVersion();

/// A correct Intel HEX line.
QByteArray hexRecord(int type, int offset, const QByteArray &data);

/// A correct image of `pages` pages of 256 bytes.
QByteArray image(int pages);
