#include "MainWindow.h"

#include <QApplication>
#include <QStyleFactory>

int main(int argc, char** argv)
{
    QApplication::setStyle(QStyleFactory::create("fusion"));
    QApplication app(argc, argv);

    const QString version =
        QString("%1.%2.%3.%4").arg(1).arg(0).arg(0).arg(QStringLiteral(ORVEX_SOURCE_REVISION));
    QCoreApplication::setApplicationName("Varnholt Orvex NUC Correction Assistant");
    QCoreApplication::setOrganizationName("Varnholt Technologies");
    QCoreApplication::setOrganizationDomain("varnholt-technologies.com");
    QCoreApplication::setApplicationVersion(version);

    MainWindow window(nullptr);
    window.setDefaultWindowTitle(QCoreApplication::applicationName());
    window.show();
    return app.exec();
}
