<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN" sourcelanguage="en">
<context>
    <name>ApplicationController</name>
    <message>
        <source>Reboot</source>
        <translation>重新启动</translation>
    </message>
    <message>
        <source>Welcome to updater</source>
        <translation>欢迎使用更新程序</translation>
    </message>
    <message>
        <source>Failed to connect to backend service</source>
        <translation>无法连接到后端服务</translation>
    </message>
    <message>
        <source>Error upgrading firmware: Please check USB drive</source>
        <translation>固件更新失败：请检查 U 盘</translation>
    </message>
    <message>
        <source>Failed to initialize VRK library</source>
        <translation>无法初始化 VRK 库</translation>
    </message>
    <message>
        <source>unknown</source>
        <translation>未知</translation>
    </message>
    <message>
        <source>Please do not remove the usb drive or power off the device</source>
        <translation>请勿拔出 U 盘或关闭设备电源</translation>
    </message>
    <message>
        <source>Are you sure you want to update the system from %1 to %2?</source>
        <translation>确定要将系统从%1版本更新到%2版本吗？</translation>
    </message>
    <message>
        <source>Checking for updates</source>
        <translation>正在检查更新</translation>
    </message>
    <message>
        <source>Required update files missing</source>
        <translation>缺少所需的更新文件</translation>
    </message>
    <message>
        <source>Error upgrading firmware: corrupt archive</source>
        <translation>固件更新失败：压缩包已损坏</translation>
    </message>
    <message>
        <source>Upgrading...</source>
        <translation>正在更新……</translation>
    </message>
    <message>
        <source>Error upgrading firmware</source>
        <translation>固件更新失败</translation>
    </message>
    <message>
        <source>ATMEGA update file missing: %1</source>
        <translation>缺少 ATMEGA 更新文件：%1</translation>
    </message>
    <message>
        <source>Error upgrading measurement board firmware</source>
        <translation>测量板固件更新失败</translation>
    </message>
    <message>
        <source>Please remove USB and then select Reboot</source>
        <translation>请拔出 U 盘，然后选择“重新启动”</translation>
    </message>
    <message>
        <source>Firmware upgrade successful</source>
        <translation>固件更新成功</translation>
    </message>
    <message>
        <source>Cancelling...</source>
        <translation>正在取消……</translation>
    </message>
    <message>
        <source>Rebooting...</source>
        <translation>正在重新启动……</translation>
    </message>
</context>
</TS>
