#pragma once

#include "channel.h"
#include "lapheader.h"
#include "sample.h"
#include "zumsdk_global.h"

#include <QList>
#include <QMetaType>
#include <QSharedPointer>
#include <QString>

#include <unordered_map>
#include <vector>

namespace ZUM::SDK {

// One lap of one car: a header, the channels recorded sample by sample, and the channels
// calculated afterwards. The lap shares its channels with whoever asks for them.
class ZUMSDK_EXPORT Lap
{
public:
    using ChannelMap = std::unordered_map<QString, QSharedPointer<Channel>>;

    QSharedPointer<Channel> channel(const QString &name) const;
    QSharedPointer<Channel> calculatedChannel(const QString &name) const;

    // Names sorted by QString's operator< (upper case before lower case).
    QList<QString> getAvailableRecordedChannels() const;
    QList<QString> getAvailableCalculatedChannels() const;

    // Drops all channels and the header's named values; the lap's identity and timing stay.
    void clear();
    // Samples in the lap, read from one channel (recorded ones first).
    qint64 size() const;
    // True only when the lap has no channels at all, not when its channels have no entries.
    bool isEmpty() const;

    LapHeader &header() { return m_header; }
    const LapHeader &header() const { return m_header; }

    // Appends one entry to every recorded channel from the sample's named values: a name the
    // sample lacks gets InvalidValue, and a channel that first shows up now is padded with
    // InvalidValue for the samples before it. A name the sample holds with an invalid value
    // gets no entry, deliberately: that channel stays one entry short.
    void addSample(const Sample &sample);

    void addChannel(QSharedPointer<Channel> channel, const QString &name);
    void addCalculatedChannel(QSharedPointer<Channel> channel, const QString &name);
    void removeRecordedChannel(const QString &name);
    void removeCalculatedChannel(const QString &name);
    bool containsRecordedChannel(const QString &name) const;
    bool containsCalculatedChannel(const QString &name) const;
    bool containsChannel(const QString &name) const;

private:
    // The recorded channels in the order of a sample layout, while the lap's channels are
    // exactly the layout's names: samples of that layout append by position. Not copied.
    struct LayoutChannels
    {
        DynamicData::Layout layout = 0;
        std::vector<Channel *> channels;

        LayoutChannels() = default;
        LayoutChannels(const LayoutChannels &) { }
        LayoutChannels &operator=(const LayoutChannels &)
        {
            reset();
            return *this;
        }
        void reset()
        {
            layout = 0;
            channels.clear();
        }
    };

    bool appendInLayout(const DynamicData &values);
    void addSampleByName(const DynamicData &values);
    void rememberLayout(const DynamicData &values);

    LapHeader m_header;
    ChannelMap m_recorded;
    ChannelMap m_calculated;
    LayoutChannels m_layout;
};

} // namespace ZUM::SDK

Q_DECLARE_METATYPE(QSharedPointer<ZUM::SDK::Lap>)
