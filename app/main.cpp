#include <QApplication>
#include <QIcon>
#include <QMainWindow>
#include <QStyleFactory>

int main(int argc, char** argv)
{
    QApplication::setStyle(QStyleFactory::create("fusion"));
    QApplication app(argc, argv);

    const QString version = QString("%1.%2.%3.%4").arg(1).arg(0).arg(0).arg(ORVEX_SOURCE_REVISION);
    QCoreApplication::setApplicationName("Varnholt Orvex NUC Correction Assistant");
    QCoreApplication::setOrganizationName("Varnholt Technologies");
    QCoreApplication::setOrganizationDomain("varnholt-technologies.com");
    QCoreApplication::setApplicationVersion(version);

    QMainWindow window;
    window.setWindowIcon(QIcon(":/Images/res/Varnholt.ico"));
    window.setWindowTitle(QCoreApplication::applicationName());
    window.show();
    return app.exec();
}
