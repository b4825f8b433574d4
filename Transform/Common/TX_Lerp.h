#pragma once

// The straight line through two points, y = m_a * x + m_b, all in float. The two x must differ.
class TX_Lerp {
  public:
    float m_a;
    float m_b;

    TX_Lerp(float x1, float y1, float x2, float y2);
    float operator()(float x) const { return m_a * x + m_b; }
};
