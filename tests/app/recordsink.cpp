// Linked on top of the product: a logger that is there before main() is, and writes its records to
// the error channel, behind how the application is set up.
#include <plog/Log.h>

#include <plog/Init.h>

#include <QCoreApplication>

#include <iostream>

static struct ErrorChannel : plog::IAppender {
    ErrorChannel() { plog::init(plog::warning, this); }

    void write(const plog::Record &record) override
    {
        std::cerr << qPrintable(QCoreApplication::organizationName()) << ' '
                  << qPrintable(QCoreApplication::applicationName()) << ' '
                  << QCoreApplication::testAttribute(Qt::AA_EnableHighDpiScaling) << ' ' << record.getSeverity() << ' '
                  << record.getMessage() << std::endl;
    }
} s_errorChannel;
