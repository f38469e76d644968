#include <QTest>

class TaskTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void builds() {}
};

#include "core/Published.h"
#include "core/TaskScope.h"
QTEST_GUILESS_MAIN(TaskTest)
#include "TaskTest.moc"
