// What a program weighs, and how soon it is there, that shows a tray icon by Qt and does nothing else.

#include <QApplication>
#include <QMenu>
#include <QPixmap>
#include <QSystemTrayIcon>

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QMenu menu;
    menu.addAction(QStringLiteral("Nothing"));
    QPixmap picture(22, 22);
    picture.fill(Qt::gray);
    QSystemTrayIcon icon{QIcon(picture)};
    icon.setContextMenu(&menu);
    icon.show();
    return QApplication::exec();
}
