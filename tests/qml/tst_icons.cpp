#include <QImage>
#include <QProcess>
#include <QStandardPaths>
#include <QtTest>

/// The icons are committed as pixels beside their drawings; these checks keep the two together.
class TestIcons : public QObject
{
    Q_OBJECT

private slots:
    void format_data();
    void format();
    void showsItsDrawing_data() { format_data(); }
    void showsItsDrawing();
};

void TestIcons::format_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QColor>("colour");
    QTest::newRow("icon_accept") << QSize(53, 41) << QColor(0x00, 0x94, 0x44);
    QTest::newRow("icon_discard") << QSize(28, 26) << QColor(0xed, 0x20, 0x24);
    QTest::newRow("icon_exitArrow") << QSize(128, 126) << QColor(Qt::white);
    QTest::newRow("icon_left_arrow") << QSize(24, 33) << QColor(Qt::white);
    QTest::newRow("icon_exitMan") << QSize(128, 126) << QColor(Qt::white);
}

static QString iconName()
{
    return QLatin1String(QTest::currentDataTag());
}

static QString resource()
{
    return QStringLiteral(":/images/%1.png").arg(iconName());
}

static QColor dominantColour(const QImage &icon)
{
    QHash<QRgb, int> counts;
    QRgb dominant = 0;
    for (int y = 0; y < icon.height(); ++y) {
        for (int x = 0; x < icon.width(); ++x) {
            const QRgb pixel = icon.pixel(x, y);
            if (qAlpha(pixel) == 255 && ++counts[pixel] > counts.value(dominant))
                dominant = pixel;
        }
    }
    return QColor::fromRgba(dominant);
}

void TestIcons::format()
{
    QFile file(resource());
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    QVERIFY(bytes.size() > 25);
    QCOMPARE(int(bytes.at(24)), 8); // bits per channel
    QCOMPARE(int(bytes.at(25)), 6); // red, green, blue, alpha

    const QImage icon = QImage::fromData(bytes);
    QTEST(icon.size(), "size");
    QTEST(dominantColour(icon), "colour");
    QCOMPARE(icon.pixelColor(0, 0).alpha(), 0);
    QCOMPARE(icon.pixelColor(icon.width() - 1, icon.height() - 1).alpha(), 0);
}

void TestIcons::showsItsDrawing()
{
    const QString renderer = QStandardPaths::findExecutable(QStringLiteral("rsvg-convert"));
    QVERIFY2(!renderer.isEmpty(),
             "rsvg-convert (Debian: librsvg2-bin) is missing; tools/setup --test installs it");
    QProcess process;
    process.start(renderer, { QStringLiteral(ICON_DRAWINGS "/%1.svg").arg(iconName()) });
    QVERIFY(process.waitForFinished());
    const QImage drawing = QImage::fromData(process.readAllStandardOutput())
                                   .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const QImage icon = QImage(resource()).convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QCOMPARE(drawing.size(), icon.size());

    // Releases of the renderer may differ a little at the edges of a shape.
    const int tolerance = 12;
    for (int i = 0; i < icon.bytesPerLine() * icon.height(); ++i)
        QVERIFY(qAbs(drawing.constBits()[i] - icon.constBits()[i]) <= tolerance);
}

QTEST_GUILESS_MAIN(TestIcons)
#include "tst_icons.moc"
