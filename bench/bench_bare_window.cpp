// The baseline of the start-up benchmark: an empty Qt window with a title and nothing else.
#include <QApplication>
#include <QTimer>
#include <QWidget>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QWidget w;
    w.setWindowTitle(QStringLiteral("bare window"));
    w.resize(964, 641);
    w.show();
    // Stays until closed by the benchmark.
    return app.exec();
}
