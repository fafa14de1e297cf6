#include "argumentlist.h"

#include <cstring>

namespace {

bool isPluginOption(const char *argument)
{
    return std::strcmp(argument, "--plugin") == 0;
}

} // namespace

ArgumentList::ArgumentList(int &argc, char **argv)
    : m_count(&argc)
    , m_vector(argv)
{
    bool rewrite = false;
    for (int i = 0; i < argc; ++i)
        rewrite = rewrite || isPluginOption(argv[i]);
    if (!rewrite)
        return;

    for (int i = 0; i < argc; ++i) {
        if (!isPluginOption(argv[i])) {
            m_texts.push_back(argv[i]);
        } else if (i + 1 < argc) {
            m_texts.push_back(QByteArrayLiteral("--plugin=") + argv[i + 1]);
            ++i;
        } else {
            m_pluginValueMissing = true;
        }
    }
    for (QByteArray &text : m_texts)
        m_pointers.push_back(text.data());
    m_pointers.push_back(nullptr);
    m_rewrittenCount = int(m_texts.size());
    m_count = &m_rewrittenCount;
    m_vector = m_pointers.data();
}
