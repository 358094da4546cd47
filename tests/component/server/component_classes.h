#pragma once

#include "tests/component/component_test.h"

#include <ostream>
#include <string>
#include <vector>

/// An interface by name, so that a failing test says which.
struct NamedInterface
{
    const char* name;
    IID iid;
};

/// One of the component's creatable classes, with every interface that it publishes.
struct ComponentClass
{
    const char* name;
    CLSID clsid;
    std::vector<NamedInterface> interfaces;
    bool safeForScripts;

    friend std::ostream& operator<<(std::ostream& out, const ComponentClass& c) { return out << c.name; }
};

/// The classes in the order of their registration.
const std::vector<ComponentClass>& ComponentClasses();

/// Interfaces that some object somewhere has, for asking an object for those it lacks.
const std::vector<NamedInterface>& KnownInterfaces();
