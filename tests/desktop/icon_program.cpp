// Downloads the icon of a robot on this machine as Obvista does, and reports what it has received.
#include "http/http_download_object.h"

#include <QCoreApplication>

#include <iostream>

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    KD::HttpDownloadObject download(QStringLiteral("http://127.0.0.1/media/buddy.icon"), nullptr);
    QObject::connect(&download, &KD::HttpDownloadObject::finished, &application,
                     [&download](bool succeeded) {
                         std::cout << (succeeded ? "finished" : "failed") << " with "
                                   << download.fFile.readAll().size() << " bytes" << std::endl;
                         QCoreApplication::quit();
                     });
    return QCoreApplication::exec();
}
