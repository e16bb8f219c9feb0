// Values handed from one component to another as one block of bytes.
#include <OrvoBufferStream.h>

#include <cstdio>
#include <vector>

using namespace OrvoSupport;

struct Order {
    int number = 0;
    short pieces = 0;
    double price = 0;
    wstring article;
};

// Text that is to be read back goes with its length in two bytes, as the reader takes it.
void write(OrvoOutputObjectStream& stream, const Order& order) {
    stream << order.number << order.pieces << order.price;
    stream << static_cast<short>(order.article.size());
    for (const wchar_t character : order.article) stream << static_cast<short>(character);
}

Order read(OrvoInputObjectStream& stream) {
    Order order;
    stream >> order.number >> order.pieces >> order.price >> order.article;
    return order;
}

int main() {
    OrvoBufferStream out;
    write(out, {17, 3, 2.5, L"bolt"});
    write(out, {18, 1, 99.0, L"wrench"});

    // The block is what travels: a header of four bytes and the data.
    const unsigned char* block = out.buffer();
    const std::vector<unsigned char> message(block, block + out.size() + 4);

    OrvoBufferStream in(message.data(), static_cast<unsigned int>(message.size()));
    double total = 0;
    while (in.size() > 0) {
        const Order order = read(in);
        std::printf("%d: %d of %ls at %.2f\n", order.number, order.pieces, order.article.c_str(),
                    order.price);
        total += order.pieces * order.price;
    }
    std::printf("%zu bytes, %.2f in all\n", message.size(), total);
    return total == 106.5 ? 0 : 1;
}
