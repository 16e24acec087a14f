#include <vexo_utils/io_buffer.h>
#include <vexo_variant/variant.h>

#include <array>
#include <iostream>

using vexo::variant::Variant;

int main() {
  Variant message;
  message["command"] = "zoom";
  message["steps"] = std::int8_t{-3};

  vexo::utils::IOBuffer queue;  // grows as needed
  const std::uint32_t size = message.ToBIN(queue);
  std::cout << "encoded in " << size << " bytes\n";
  Variant received;
  const std::uint32_t taken = received.FromBIN(queue.data(), size);
  std::cout << taken << " bytes read, " << (received == message ? "equal" : "different") << '\n';
  queue.Ignore(static_cast<std::uint32_t>(queue.size()));  // the zeros behind the message, too

  std::array<std::uint8_t, 20> datagram;  // too small: `room` becomes what is enough
  auto room = static_cast<std::uint32_t>(datagram.size());
  if (message.ToBIN(datagram.data(), room) == 0) std::cout << "room for " << room << " is enough\n";

  std::array<std::uint8_t, 1024> large;
  room = static_cast<std::uint32_t>(large.size());
  const std::uint32_t sent = message.ToBIN(large.data(), room);
  std::cout << received.FromBIN(large.data(), sent) << " of " << sent << " bytes are a message, "
            << received.FromBIN(large.data(), sent - 1) << " of " << sent - 1 << '\n';
}
