#pragma once

class TrackOutline;

// The pit lane: parallel to the racing line and Width to its left, from the pit entry to the
// pit exit, with a smooth move across at each end. The car follows it while on pit road.
class PitLane
{
public:
    // How far left of the racing line (m), and how that changes along the lap distance.
    struct Offset
    {
        double lateral = 0.0;
        double slope = 0.0; // per metre
        double bend = 0.0; // per square metre
    };

    static constexpr double Width = 12.0; // metres, or half the corners' radius when less
    static constexpr double Transition = 100.0; // metres to move across at each end

    PitLane(const TrackOutline &outline, double entryPct, double exitPct);

    // At a route distance between the entry and the exit; nothing elsewhere.
    Offset at(double distance) const;

private:
    double m_length;
    double m_width;
    double m_entry; // lap distance of the pit entry
    double m_span; // metres from the entry to the exit
    double m_transition;
};
