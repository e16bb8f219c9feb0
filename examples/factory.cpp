// Objects made from names, as a settings file or a message would give them.
#include <OrvoObjectFactory.h>

#include <cstdio>

using namespace OrvoSupport;

class Shape : public OrvoObjectBase {
public:
    virtual double area() const = 0;
};

class Square : public Shape {
public:
    explicit Square(double side) : m_side(side) {}
    double area() const override { return m_side * m_side; }

private:
    double m_side;
};

class Circle : public Shape {
public:
    double area() const override { return 3.14159265; }
};

/// Makes squares of the side that it was told.
class SquareRegistration : public OrvoObjectFactoryRegistration {
public:
    explicit SquareRegistration(double side) : m_side(side) {}
    OrvoSmartPointer<OrvoObjectBase> create() override { return new Square(m_side); }

private:
    double m_side;
};

int main() {
    OrvoObjectFactory& factory = OrvoObjectFactory::getGlobalInstance();
    SquareRegistration small(1);
    SquareRegistration large(10);
    factory.add("circle", []() -> OrvoObjectBase* { return new Circle; });
    factory.add("small square", small);
    factory.add("large square", large);

    double total = 0;
    for (const string& name : factory.getRegisteredClasses()) {
        const OrvoSmartPointer<OrvoObjectBase> object = factory.construct(name);
        const double area = dynamic_cast<const Shape&>(*object).area();
        std::printf("%s: %.2f (%s)\n", name.c_str(), area, object->getClassName().c_str());
        total += area;
    }
    if (!factory.construct("triangle")) std::printf("nobody makes a triangle\n");

    // The registrations end with this function, so the factory has to forget them.
    factory.remove("small square");
    factory.remove("large square");
    return total > 104 && total < 105 ? 0 : 1;
}
