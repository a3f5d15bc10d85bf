#include <array>
#include <map>
#include <ros2_message/message_table.h>

namespace ros2_message {

namespace {

struct Row {
    const char* fName;
    const char* fDefinition;
};

// The definitions as ROS 2 publishes them, without constants, each behind those that it uses, with
// the units of REP 103. A row makes a type known.
// clang-format off
constexpr std::array a_rows{
    Row{"builtin_interfaces/msg/Time", "int32 sec\n uint32 nanosec"},
    Row{"builtin_interfaces/msg/Duration", "int32 sec\n uint32 nanosec"},
    Row{"std_msgs/msg/Header", "builtin_interfaces/Time stamp\n string frame_id  # Coordinate frame"},

    Row{"std_msgs/msg/Bool", "bool data  # @value"},
    Row{"std_msgs/msg/Byte", "byte data  # @value"},
    Row{"std_msgs/msg/Char", "char data  # @value"},
    Row{"std_msgs/msg/Int8", "int8 data  # @value"},
    Row{"std_msgs/msg/UInt8", "uint8 data  # @value"},
    Row{"std_msgs/msg/Int16", "int16 data  # @value"},
    Row{"std_msgs/msg/UInt16", "uint16 data  # @value"},
    Row{"std_msgs/msg/Int32", "int32 data  # @value"},
    Row{"std_msgs/msg/UInt32", "uint32 data  # @value"},
    Row{"std_msgs/msg/Int64", "int64 data  # @value"},
    Row{"std_msgs/msg/UInt64", "uint64 data  # @value"},
    Row{"std_msgs/msg/Float32", "float32 data  # @value"},
    Row{"std_msgs/msg/Float64", "float64 data  # @value"},
    Row{"std_msgs/msg/String", "string data  # @value"},
    Row{"std_msgs/msg/MultiArrayDimension", "string label\n uint32 size\n uint32 stride"},
    Row{"std_msgs/msg/MultiArrayLayout", "MultiArrayDimension[] dim\n uint32 data_offset"},
    Row{"std_msgs/msg/ByteMultiArray", "MultiArrayLayout layout\n byte[] data  # @value"},
    Row{"std_msgs/msg/Int8MultiArray", "MultiArrayLayout layout\n int8[] data  # @value"},
    Row{"std_msgs/msg/UInt8MultiArray", "MultiArrayLayout layout\n uint8[] data  # @value"},
    Row{"std_msgs/msg/Int16MultiArray", "MultiArrayLayout layout\n int16[] data  # @value"},
    Row{"std_msgs/msg/UInt16MultiArray", "MultiArrayLayout layout\n uint16[] data  # @value"},
    Row{"std_msgs/msg/Int32MultiArray", "MultiArrayLayout layout\n int32[] data  # @value"},
    Row{"std_msgs/msg/UInt32MultiArray", "MultiArrayLayout layout\n uint32[] data  # @value"},
    Row{"std_msgs/msg/Int64MultiArray", "MultiArrayLayout layout\n int64[] data  # @value"},
    Row{"std_msgs/msg/UInt64MultiArray", "MultiArrayLayout layout\n uint64[] data  # @value"},
    Row{"std_msgs/msg/Float32MultiArray", "MultiArrayLayout layout\n float32[] data  # @value"},
    Row{"std_msgs/msg/Float64MultiArray", "MultiArrayLayout layout\n float64[] data  # @value"},

    Row{"geometry_msgs/msg/Vector3", "float64 x\n float64 y\n float64 z"},
    Row{"geometry_msgs/msg/Vector3Stamped", "std_msgs/Header header\n Vector3 vector"},
    // Not published by themselves: vectors and points with a unit.
    Row{"obvista/msg/Position", "float64 x  # [m]\n float64 y  # [m]\n float64 z  # [m]"},
    Row{"obvista/msg/Velocity", "float64 x  # [m/s]\n float64 y  # [m/s]\n float64 z  # [m/s]"},
    Row{"obvista/msg/AngularVelocity", "float64 x  # [rad/s]\n float64 y  # [rad/s]\n float64 z  # [rad/s]"},
    Row{"obvista/msg/Acceleration", "float64 x  # [m/s²]\n float64 y  # [m/s²]\n float64 z  # [m/s²]"},
    Row{"obvista/msg/Force", "float64 x  # [N]\n float64 y  # [N]\n float64 z  # [N]"},
    Row{"obvista/msg/Torque", "float64 x  # [Nm]\n float64 y  # [Nm]\n float64 z  # [Nm]"},
    Row{"obvista/msg/Field", "float64 x  # [T]\n float64 y  # [T]\n float64 z  # [T]"},
    Row{"geometry_msgs/msg/Quaternion", "float64 x\n float64 y\n float64 z\n float64 w"},
    Row{"geometry_msgs/msg/Twist", "obvista/Velocity linear  # Velocity\n obvista/AngularVelocity angular  # Angular velocity"},
    Row{"geometry_msgs/msg/TwistStamped", "std_msgs/Header header\n Twist twist"},
    Row{"geometry_msgs/msg/TwistWithCovariance", "Twist twist\n float64[36] covariance"},
    Row{"geometry_msgs/msg/Pose", "obvista/Position position  # Position\n Quaternion orientation  # Orientation, a quaternion"},
    Row{"geometry_msgs/msg/PoseStamped", "std_msgs/Header header\n Pose pose"},
    Row{"geometry_msgs/msg/PoseWithCovariance", "Pose pose\n float64[36] covariance"},
    Row{"geometry_msgs/msg/Wrench", "obvista/Force force  # Force\n obvista/Torque torque  # Torque"},
    Row{"geometry_msgs/msg/WrenchStamped", "std_msgs/Header header\n Wrench wrench"},
    Row{"geometry_msgs/msg/Transform", "obvista/Position translation  # Position\n Quaternion rotation  # Orientation, a quaternion"},
    Row{"geometry_msgs/msg/TransformStamped", "std_msgs/Header header\n string child_frame_id  # Frame that the transform places\n Transform transform"},

    Row{"sensor_msgs/msg/JointState", "std_msgs/Header header\n string[] name  # @names\n float64[] position  # @per Position [rad] Position; in m for a sliding joint\n float64[] velocity  # @per Velocity [rad/s] Velocity; in m/s for a sliding joint\n float64[] effort  # @per Effort [Nm] Torque; the force in N for a sliding joint"},
    Row{"sensor_msgs/msg/Imu", "std_msgs/Header header\n geometry_msgs/Quaternion orientation  # Orientation, a quaternion\n float64[9] orientation_covariance\n obvista/AngularVelocity angular_velocity  # Angular velocity\n float64[9] angular_velocity_covariance\n obvista/Acceleration linear_acceleration  # Acceleration\n float64[9] linear_acceleration_covariance"},
    Row{"sensor_msgs/msg/BatteryState", "std_msgs/Header header\n float32 voltage  # [V] Voltage\n float32 temperature  # [°C] Temperature\n float32 current  # [A] Current; negative while it discharges\n float32 charge  # [Ah] Charge\n float32 capacity  # [Ah] Capacity when it was last full\n float32 design_capacity  # [Ah] Capacity when it was new\n float32 percentage  # Charge, from 0 to 1\n uint8 power_supply_status  # 0 unknown, 1 charging, 2 discharging, 3 not charging, 4 full\n uint8 power_supply_health  # 0 unknown, 1 good, 2 too hot, 3 dead, 4 too high a voltage, 5 failed, 6 cold, 7 watchdog expired, 8 safety timer expired\n uint8 power_supply_technology  # 0 unknown, 1 NiMH, 2 Li-ion, 3 Li-polymer, 4 LiFe, 5 NiCd, 6 LiMn\n bool present  # True if there is a battery\n float32[] cell_voltage  # [V] Voltage of a cell\n float32[] cell_temperature  # [°C] Temperature of a cell\n string location  # Place of the battery\n string serial_number  # Serial number"},
    Row{"sensor_msgs/msg/Temperature", "std_msgs/Header header\n float64 temperature  # [°C] Temperature\n float64 variance  # Variance; 0 if it is not known"},
    Row{"sensor_msgs/msg/Range", "std_msgs/Header header\n uint8 radiation_type  # 0 ultrasound, 1 infrared\n float32 field_of_view  # [rad] Width of the beam\n float32 min_range  # [m] Shortest range that is measured\n float32 max_range  # [m] Longest range that is measured\n float32 range  # [m] Range\n float32 variance  # @optional Variance; 0 if it is not known"},
    Row{"sensor_msgs/msg/MagneticField", "std_msgs/Header header\n obvista/Field magnetic_field  # Magnetic field\n float64[9] magnetic_field_covariance"},
    Row{"sensor_msgs/msg/FluidPressure", "std_msgs/Header header\n float64 fluid_pressure  # [Pa] Absolute pressure\n float64 variance  # Variance; 0 if it is not known"},
    Row{"sensor_msgs/msg/RelativeHumidity", "std_msgs/Header header\n float64 relative_humidity  # Relative humidity, from 0 to 1\n float64 variance  # Variance; 0 if it is not known"},
    Row{"sensor_msgs/msg/Illuminance", "std_msgs/Header header\n float64 illuminance  # [lx] Illuminance\n float64 variance  # Variance; 0 if it is not known"},
    Row{"sensor_msgs/msg/Joy", "std_msgs/Header header\n float32[] axes  # Position of an axis, from -1 to 1\n int32[] buttons  # 1 for a button that is pressed"},
    Row{"sensor_msgs/msg/NavSatStatus", "int8 status  # -1 no position, 0 position, 1 with satellite corrections, 2 with ground corrections\n uint16 service  # Sum of 1 GPS, 2 GLONASS, 4 BeiDou, 8 Galileo"},
    Row{"sensor_msgs/msg/NavSatFix", "std_msgs/Header header\n NavSatStatus status\n float64 latitude  # [°] Latitude; negative in the south\n float64 longitude  # [°] Longitude; negative in the west\n float64 altitude  # [m] Height above the WGS 84 ellipsoid\n float64[9] position_covariance  # [m²] Covariance of east, north and up\n uint8 position_covariance_type  # 0 unknown, 1 approximated, 2 diagonal known, 3 known"},
    Row{"sensor_msgs/msg/RegionOfInterest", "uint32 x_offset\n uint32 y_offset\n uint32 height\n uint32 width\n bool do_rectify"},
    Row{"sensor_msgs/msg/CameraInfo", "std_msgs/Header header\n uint32 height  # [px] Height of the picture\n uint32 width  # [px] Width of the picture\n string distortion_model  # Name of the distortion model\n float64[] d  # Parameter of the distortion\n float64[9] k  # Intrinsic matrix\n float64[9] r  # Rectification matrix\n float64[12] p  # Projection matrix\n uint32 binning_x\n uint32 binning_y\n RegionOfInterest roi"},

    Row{"nav_msgs/msg/Odometry", "std_msgs/Header header\n string child_frame_id  # Frame of the velocity\n geometry_msgs/PoseWithCovariance pose\n geometry_msgs/TwistWithCovariance twist"},

    Row{"diagnostic_msgs/msg/KeyValue", "string key\n string value  # @value"},
    Row{"diagnostic_msgs/msg/DiagnosticStatus", "byte level  # 0 ok, 1 warning, 2 error, 3 stale\n string name\n string message  # State in words\n string hardware_id  # Part that is described\n KeyValue[] values  # @by key"},
    Row{"diagnostic_msgs/msg/DiagnosticArray", "std_msgs/Header header\n DiagnosticStatus[] status  # @by name"},
    Row{"rcl_interfaces/msg/Log", "builtin_interfaces/Time stamp\n uint8 level  # 10 debug, 20 information, 30 warning, 40 error, 50 fatal\n string name  # Logger\n string msg  # Text\n string file  # Source file\n string function  # Function\n uint32 line  # Line in the source file"},
    Row{"tf2_msgs/msg/TFMessage", "geometry_msgs/TransformStamped[] transforms  # @by child_frame_id"},
};
// clang-format on

using Types = std::map<std::string, std::shared_ptr<const MessageType>>;

Types parsedTypes() {
    Types types;
    const auto lookup = [&](const std::string& name) {
        const auto known = types.find(name);
        return known == types.end() ? nullptr : known->second;
    };
    for (const Row& row : a_rows) {
        types.emplace(row.fName,
                      std::make_shared<const MessageType>(row.fName, row.fDefinition, lookup));
    }
    return types;
}

const Types& types() {
    static const Types parsed = parsedTypes();
    return parsed;
}

}  // namespace

std::shared_ptr<const MessageType> knownType(const std::string& name) {
    const auto known = types().find(name);
    return known == types().end() ? nullptr : known->second;
}

std::vector<std::string> knownTypes() {
    std::vector<std::string> names;
    for (const auto& [name, type] : types()) {
        names.push_back(name);
    }
    return names;
}

}  // namespace ros2_message
