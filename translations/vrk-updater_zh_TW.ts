<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_TW" sourcelanguage="en">
<context>
    <name>ApplicationController</name>
    <message>
        <source>Reboot</source>
        <translation>重新啟動</translation>
    </message>
    <message>
        <source>Welcome to updater</source>
        <translation>歡迎使用更新程式</translation>
    </message>
    <message>
        <source>Failed to connect to backend service</source>
        <translation>無法連線至後端服務</translation>
    </message>
    <message>
        <source>Error upgrading firmware: Please check USB drive</source>
        <translation>韌體更新失敗：請檢查 USB 隨身碟</translation>
    </message>
    <message>
        <source>Failed to initialize VRK library</source>
        <translation>無法初始化 VRK 程式庫</translation>
    </message>
    <message>
        <source>unknown</source>
        <translation>未知</translation>
    </message>
    <message>
        <source>Please do not remove the usb drive or power off the device</source>
        <translation>請勿拔除 USB 隨身碟或關閉裝置電源</translation>
    </message>
    <message>
        <source>Are you sure you want to update the system from %1 to %2?</source>
        <translation>確定要將系統從%1版本更新至%2版本嗎？</translation>
    </message>
    <message>
        <source>Checking for updates</source>
        <translation>正在檢查更新</translation>
    </message>
    <message>
        <source>Required update files missing</source>
        <translation>缺少必要的更新檔案</translation>
    </message>
    <message>
        <source>Error upgrading firmware: corrupt archive</source>
        <translation>韌體更新失敗：壓縮檔已損毀</translation>
    </message>
    <message>
        <source>Upgrading...</source>
        <translation>正在更新……</translation>
    </message>
    <message>
        <source>Error upgrading firmware</source>
        <translation>韌體更新失敗</translation>
    </message>
    <message>
        <source>ATMEGA update file missing: %1</source>
        <translation>缺少 ATMEGA 更新檔案：%1</translation>
    </message>
    <message>
        <source>Error upgrading measurement board firmware</source>
        <translation>量測板韌體更新失敗</translation>
    </message>
    <message>
        <source>Please remove USB and then select Reboot</source>
        <translation>請拔除 USB 隨身碟，然後選取「重新啟動」</translation>
    </message>
    <message>
        <source>Firmware upgrade successful</source>
        <translation>韌體更新成功</translation>
    </message>
    <message>
        <source>Cancelling...</source>
        <translation>正在取消……</translation>
    </message>
    <message>
        <source>Rebooting...</source>
        <translation>正在重新啟動……</translation>
    </message>
</context>
</TS>
