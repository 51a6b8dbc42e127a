#include "mainwindow/longpass.h"

#include <QCoreApplication>

void ProcessWaitingEvents()
{
    QCoreApplication::processEvents();
}

void ProcessWaitingEventsAt(std::size_t index)
{
    if (index % 10 == 0)
        ProcessWaitingEvents();
}
