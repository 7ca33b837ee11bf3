// How quick the window is: typing in a script, a flood in the message log, and libraries of growing
// size. In the program's own window, against a bare text area of the same size and font, and
// against reading and writing the same bytes.

#include "bench/Bench.h"
#include "midi/QtRtMIDI.h"
#include "scripts/ScriptListModel.h"
#include "ui/WindowFixture.h"

#include <QRandomGenerator>
#include <QSaveFile>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <malloc.h>
#include <thread>

using bench::Clock;
using bench::require;
using bench::timeToFrame;

namespace
{

constexpr double FewMisses = 0.99; ///< the share of keys that has to be quick
constexpr int Keys = 400;

/// A text area alone, as large as `model`, which it resembles in font and wrapping.
class BareText
{
public:
    explicit BareText(const QQuickItem &model)
    {
        m_engine.load(QUrl("qrc:/qt/qml/BareWindow/BareText.qml"));
        window = qobject_cast<QQuickWindow *>(m_engine.rootObjects().value(0));
        require(window, "no bare text area");
        window->resize(model.parentItem()->parentItem()->size().toSize());
        area = window->property("area").value<QQuickItem *>();
        for (const char *property : {"font", "wrapMode"})
            area->setProperty(property, model.property(property));
        require(QTest::qWaitForWindowExposed(window), "the bare text area does not show");
        area->forceActiveFocus();
    }

    QQuickWindow *window = nullptr;
    QQuickItem *area = nullptr;

private:
    QQmlApplicationEngine m_engine;
};

QString lines(int count, int length)
{
    return (QString(length - 1, 'x') + '\n').repeated(count);
}

/// From key to frame, over many keys in the middle of the text, which ends as long as it was.
double typingTime(QQuickWindow &window, QQuickItem &area)
{
    area.setProperty("cursorPosition", area.property("length").toInt() / 2);
    std::vector<double> times;
    for (int i = 0; i < Keys; ++i) {
        const Qt::Key key = i % 2 == 0 ? Qt::Key_X : Qt::Key_Backspace;
        times.push_back(timeToFrame(window, [&] { QTest::keyClick(&window, key); }));
    }
    return bench::percentile(times, FewMisses);
}

void measureTyping()
{
    const QString script = lines(197, 35); // 6895 characters
    const WindowFixture ui(WindowFixture::Library{{"mine", script}});
    ui.click("scriptTextArea");
    QQuickItem *const editor = ui.item("scriptTextArea");
    bench::sample("typing", bench::Measured, typingTime(*ui.window(), *editor));
    require(ui.text("scriptTextArea") == script, "the keys did not reach the script");

    // Eight hits a line, tinted as far as they are in view.
    ui.pressCtrl(Qt::Key_F);
    ui.type("xxxx");
    require(ui.text("findCount").endsWith("of 1576"), "the find bar does not find");
    editor->forceActiveFocus();
    bench::sample("typing-find", bench::Measured, typingTime(*ui.window(), *editor));
    require(ui.text("scriptTextArea") == script, "the keys did not reach the script");

    const BareText bare(*editor);
    bare.area->setProperty("text", script);
    bench::sample("typing", bench::Floor, typingTime(*bare.window, *bare.area));
    require(bare.area->property("text") == script, "the keys did not reach the text area");
}

/// What the process has allocated, in MiB.
double allocated()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / (1024 * 1024);
}

/// The longest time in which the event loop did not come round, while this object lives.
class Heartbeat
{
public:
    Heartbeat()
    {
        m_timer.callOnTimeout([this] { beat(); });
        m_timer.start(0);
    }
    [[nodiscard]] double longestStall() const { return m_longest; } ///< in ms

private:
    void beat()
    {
        m_longest = std::max(m_longest, bench::millisecondsSince(m_last));
        m_last = Clock::now();
    }

    QTimer m_timer;
    Clock::time_point m_last = Clock::now();
    double m_longest = 0;
};

/// Text that comes as it comes from the MIDI library, on a thread of its own and without a pause.
void measureLog(int count)
{
    constexpr int LineLength = 40;
    const QString row = QString("log-%1").arg(count);
    const QString text = lines(count, LineLength);
    const WindowFixture ui(WindowFixture::Library{{"mine", ""}});
    QQuickItem *const log = ui.item("messageTextArea");
    auto *const link = ui.window()->findChild<QtRtMIDI *>();
    require(link, "no MIDI link in the window");
    {
        const double before = allocated();
        const Heartbeat heartbeat;
        const double time = timeToFrame(*ui.window(), [&] {
            std::thread box([&] {
                const QString line = lines(1, LineLength);
                for (int i = 0; i < count; ++i)
                    link->emitMessageSignal(line);
            });
            bench::waitUntil([&] { return log->property("length").toInt() == text.size(); },
                             "the text does not arrive");
            box.join();
        });
        bench::sample(row, bench::Measured, time);
        bench::sample(row + "-stall", bench::Measured, heartbeat.longestStall());
        bench::sample(row + "-memory", bench::Measured, allocated() - before);
    }
    const BareText bare(*log);
    const double before = allocated();
    bench::sample(row, bench::Floor,
                  timeToFrame(*bare.window, [&] { bare.area->setProperty("text", text); }));
    bench::sample(row + "-memory", bench::Floor, allocated() - before);
}

WindowFixture::Library libraryOf(int size)
{
    constexpr int LineLength = 40;
    const QString text = lines(2000 / LineLength, LineLength);
    QRandomGenerator random(1);
    WindowFixture::Library library;
    for (int i = 0; i < size; ++i)
        library.append({QString::number(random.generate()), text});
    return library;
}

/// Loading and saving as a whole, against the same bytes.
void measureLibraryFile(const QString &row, const WindowFixture::Library &library)
{
    constexpr int Saves = 5;
    const LibraryHome home;
    home.write(scripts::writeLibrary(library));
    const auto begin = Clock::now();
    const QByteArray bytes = home.read();
    bench::sample(row + "-load", bench::Floor, bench::millisecondsSince(begin));
    const auto loadBegin = Clock::now();
    ScriptListModel model;
    bench::sample(row + "-load", bench::Measured, bench::millisecondsSince(loadBegin));

    for (int i = 0; i < Saves; ++i) {
        const auto saveBegin = Clock::now();
        model.modifyScriptText(0, QString::number(i));
        require(model.saveToFile(), "the library cannot be saved");
        bench::sample(row + "-save", bench::Measured, bench::millisecondsSince(saveBegin));

        const auto writeBegin = Clock::now();
        QSaveFile file(home.path("plain"));
        require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() &&
                    file.commit(),
                "no bytes can be written");
        bench::sample(row + "-save", bench::Floor, bench::millisecondsSince(writeBegin));
    }
}

/// What a user feels: from a key to the frame that shows what came of it.
void measureLibrary(int size)
{
    constexpr int Times = 50;
    const QString row = QString("library-%1").arg(size);
    measureLibraryFile(row, libraryOf(size));
    const WindowFixture ui(libraryOf(size));

    const auto press = [&](Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        return timeToFrame(*ui.window(), [&] { ui.press(key, modifiers); });
    };
    const auto repeat = [&](const char *action, int times, const std::function<double()> &once) {
        std::vector<double> samples(static_cast<std::size_t>(times));
        std::ranges::generate(samples, once);
        bench::sample(row + action, bench::Measured, bench::percentile(samples, FewMisses));
    };
    QQuickItem *const list = ui.item("scriptListView");
    // Each script has a page of its own.
    const auto edit = [&] { ui.item("scriptTextArea")->forceActiveFocus(); };
    const auto goOn = [&] { // there is no next one below the last
        if (list->property("currentIndex").toInt() + 1 == size)
            press(Qt::Key_Home);
        list->forceActiveFocus();
    };
    repeat("-select", Times, [&] {
        goOn();
        return press(Qt::Key_Down);
    });
    repeat("-type", Times, [&] {
        edit();
        return press(Qt::Key_X);
    });
    repeat("-select-edited", Times, [&] { // which saves
        edit();
        press(Qt::Key_X);
        goOn();
        return press(Qt::Key_Down);
    });
    repeat("-add", 5, [&] { return press(Qt::Key_N, Qt::ControlModifier); });
    repeat("-sort", 1, [&] { return press(Qt::Key_L, Qt::ControlModifier); });
}

} // namespace

int main(int argc, char *argv[])
{
    std::vector<bench::Row> rows{{"typing", measureTyping}};
    for (const int count : {5000, 10000, 20000, 40000})
        rows.push_back({QString("log-%1").arg(count), [count] { measureLog(count); }});
    for (const int size : {10, 100, 1000, 10000})
        rows.push_back({QString("library-%1").arg(size), [size] { measureLibrary(size); }});
    return bench::run(argc, argv, rows);
}
