<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="vi" sourcelanguage="en">
<context>
    <name>ApplicationController</name>
    <message>
        <source>Reboot</source>
        <translation>Khởi động lại</translation>
    </message>
    <message>
        <source>Welcome to updater</source>
        <translation>Chào mừng đến với trình cập nhật</translation>
    </message>
    <message>
        <source>Failed to connect to backend service</source>
        <translation>Không thể kết nối với dịch vụ nền</translation>
    </message>
    <message>
        <source>Error upgrading firmware: Please check USB drive</source>
        <translation>Lỗi khi cập nhật firmware: vui lòng kiểm tra ổ USB</translation>
    </message>
    <message>
        <source>Failed to initialize VRK library</source>
        <translation>Không thể khởi tạo thư viện VRK</translation>
    </message>
    <message>
        <source>unknown</source>
        <translation>không xác định</translation>
    </message>
    <message>
        <source>Please do not remove the usb drive or power off the device</source>
        <translation>Vui lòng không rút ổ USB và không tắt thiết bị</translation>
    </message>
    <message>
        <source>Are you sure you want to update the system from %1 to %2?</source>
        <translation>Xác nhận cập nhật hệ thống từ bản %1 lên bản %2?</translation>
    </message>
    <message>
        <source>Checking for updates</source>
        <translation>Đang kiểm tra bản cập nhật</translation>
    </message>
    <message>
        <source>Required update files missing</source>
        <translation>Thiếu tệp cập nhật cần thiết</translation>
    </message>
    <message>
        <source>Error upgrading firmware: corrupt archive</source>
        <translation>Lỗi khi cập nhật firmware: tệp nén bị hỏng</translation>
    </message>
    <message>
        <source>Upgrading...</source>
        <translation>Đang cập nhật…</translation>
    </message>
    <message>
        <source>Error upgrading firmware</source>
        <translation>Lỗi khi cập nhật firmware</translation>
    </message>
    <message>
        <source>ATMEGA update file missing: %1</source>
        <translation>Thiếu tệp cập nhật ATMEGA: %1</translation>
    </message>
    <message>
        <source>Error upgrading measurement board firmware</source>
        <translation>Lỗi khi cập nhật firmware của bo mạch đo</translation>
    </message>
    <message>
        <source>Please remove USB and then select Reboot</source>
        <translation>Vui lòng rút ổ USB, sau đó chọn “Khởi động lại”</translation>
    </message>
    <message>
        <source>Firmware upgrade successful</source>
        <translation>Cập nhật firmware thành công</translation>
    </message>
    <message>
        <source>Cancelling...</source>
        <translation>Đang hủy…</translation>
    </message>
    <message>
        <source>Rebooting...</source>
        <translation>Đang khởi động lại…</translation>
    </message>
</context>
</TS>
