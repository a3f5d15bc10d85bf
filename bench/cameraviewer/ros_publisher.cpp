// Publishes the frames of a robot's camera to ROS, for its image viewer. JPEGs are decoded here,
// since the transport for them is a separate package, which is an advantage for ROS's viewer.
//
//   cameraviewer_bench_ros ROBOT_PORT
#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_frame_stream.h>

#include <cstdio>
#include <cstdlib>
#include <picture_decoder.h>
#include <ros/ros.h>
#include <sensor_msgs/Image.h>

namespace {

class Publisher {
  public:
    explicit Publisher(ros::NodeHandle& node)
        : fImages(node.advertise<sensor_msgs::Image>("image", 1)) {}

    void publish(const KVFrame& frame) {
        const QImage picture = fDecoder.decode(frame).fImage;
        if (picture.isNull()) {
            return;
        }
        sensor_msgs::Image message;
        message.header.stamp.fromNSec(static_cast<std::uint64_t>(frame.fTime) * 1000);
        message.width = frame.fWidth;
        message.height = frame.fHeight;
        message.encoding = picture.format() == QImage::Format_RGB888 ? "rgb8" : "bgra8";
        message.step = static_cast<std::uint32_t>(picture.bytesPerLine());
        message.data.assign(picture.constBits(), picture.constBits() + picture.sizeInBytes());
        fImages.publish(message);
    }

  private:
    cameraviewer::PictureDecoder fDecoder;
    ros::Publisher fImages;
};

}  // namespace

int main(int argc, char** argv) {
    ros::init(argc, argv, "obvista_bench");
    if (argc != 2) {
        std::fputs("usage: cameraviewer_bench_ros ROBOT_PORT\n", stderr);
        return EXIT_FAILURE;
    }
    ros::NodeHandle node;
    Publisher publisher(node);
    const auto broker = KVBroker::createBroker({"Publisher"});
    const auto connection = KVConnection::open(broker, "127.0.0.1", std::atoi(argv[1]), 5);
    const auto stream =
        KVFrameStream::start(connection, "KVVideo", "head",
                             {[&publisher](const KVFrame& frame, std::uint64_t /*passedOver*/) {
                                  publisher.publish(frame);
                              },
                              [](const KVError& /*error*/) { ros::shutdown(); }});
    ros::spin();
    return EXIT_SUCCESS;
}
