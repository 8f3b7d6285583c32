#include "CameraSource.h"
#include "CameraSourceMenu.h"
#include "MainWindow.h"
#include "OrxSettings.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QStyleFactory>

#include <cstdio>

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

    // The cameras to list: the command line, else ORVEX_CAMERAS, else the
    // View menu's last choice. The camera SDK starts with the window.
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption cameras(
        "cameras",
        QCoreApplication::translate("main", "Which cameras to list: simulated (the default), "
                                            "real (GigE Vision and USB3 Vision) or all."),
        "SOURCE");
    parser.addOption(cameras);
    parser.process(app);
    const bool remembered =
        OrxSettings::getInstance()
            ->Get(CameraSourceMenu::SettingsGroup, CameraSourceMenu::SettingsKey, false)
            .toBool();
    CameraSource source = CameraSource::Simulated;
    QString error;
    if (!resolveCameraSource(parser.value(cameras),
                             remembered ? CameraSource::Real : CameraSource::Simulated, source,
                             error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 2;
    }
    selectCameraSource(source);

    MainWindow window(nullptr);
    window.setDefaultWindowTitle(QCoreApplication::applicationName());
    window.show();
    return app.exec();
}
