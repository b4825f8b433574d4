#pragma once

// Writes to parameters from a change in the inspector, for host families that hand one out
// through makeUpdateApi. Parameter operations take the generic index, then the parameter id.
class PluginUpdate_API {
  public:
    virtual ~PluginUpdate_API() = default;
    virtual bool isValid() = 0;
    virtual int setFloatValue(int index, int id, double value) = 0;
    virtual int setAngleValue(int index, int id, double degrees) = 0;
    virtual int setIntValue(int index, int id, int value) = 0;
    virtual int setBoolValue(int index, int id, bool value) = 0;
    virtual int setEnumValue(int index, int id, unsigned int value) = 0;
    virtual int setPoint2DValue(int index, int id, double x, double y) = 0;
    virtual int setColorValue(int index, int id, double r, double g, double b) = 0;
    virtual int setEnable(int index, int id, bool enable) = 0;
    virtual int setGroupOpen(int index, int id, bool open) = 0;
    virtual int setParamName(int index, int id, char const* name) = 0;
    virtual int setParamNameEnable(int index, int id, char const* name, bool enable) {
        setParamName(index, id, name);
        return setEnable(index, id, enable);
    }
};
