#include "sessionlabel.h"

#include "session.h"

QString sessionLabel(const ZUM::SDK::LapHeader &header)
{
    const QString kind = ZUM::SDK::sessionName(header.session);
    if (kind != ZUM::SDK::sessionName(ZUM::SDK::Session::Unknown))
        return kind;
    const ZUM::SDK::Value *name = header.dynamicData.find(QStringLiteral("Session name"));
    const QString text = name ? name->toString().trimmed() : QString();
    return text.isEmpty() ? kind : QStringLiteral("%1 (%2)").arg(kind, text);
}
