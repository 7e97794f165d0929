<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="uk" sourcelanguage="en">
<context>
    <name>ApplicationController</name>
    <message>
        <source>Reboot</source>
        <translation>Перезавантажити</translation>
    </message>
    <message>
        <source>Welcome to updater</source>
        <translation>Ласкаво просимо до програми оновлення</translation>
    </message>
    <message>
        <source>Failed to connect to backend service</source>
        <translation>Не вдалося підключитися до фонової служби</translation>
    </message>
    <message>
        <source>Error upgrading firmware: Please check USB drive</source>
        <translation>Помилка оновлення мікропрограми: перевірте USB-накопичувач</translation>
    </message>
    <message>
        <source>Failed to initialize VRK library</source>
        <translation>Не вдалося ініціалізувати бібліотеку VRK</translation>
    </message>
    <message>
        <source>unknown</source>
        <translatorcomment>Stands for the version after &quot;до&quot;, hence the genitive.</translatorcomment>
        <translation>невідомої</translation>
    </message>
    <message>
        <source>Please do not remove the usb drive or power off the device</source>
        <translation>Не виймайте USB-накопичувач і не вимикайте прилад</translation>
    </message>
    <message>
        <source>Are you sure you want to update the system from %1 to %2?</source>
        <translation>Дійсно оновити систему з версії %1 до %2?</translation>
    </message>
    <message>
        <source>Checking for updates</source>
        <translation>Перевірка оновлення</translation>
    </message>
    <message>
        <source>Required update files missing</source>
        <translation>Бракує потрібних файлів оновлення</translation>
    </message>
    <message>
        <source>Error upgrading firmware: corrupt archive</source>
        <translation>Помилка оновлення мікропрограми: архів пошкоджено</translation>
    </message>
    <message>
        <source>Upgrading...</source>
        <translation>Триває оновлення…</translation>
    </message>
    <message>
        <source>Error upgrading firmware</source>
        <translation>Помилка оновлення мікропрограми</translation>
    </message>
    <message>
        <source>ATMEGA update file missing: %1</source>
        <translation>Немає файлу оновлення ATMEGA: %1</translation>
    </message>
    <message>
        <source>Error upgrading measurement board firmware</source>
        <translation>Помилка оновлення мікропрограми вимірювальної плати</translation>
    </message>
    <message>
        <source>Please remove USB and then select Reboot</source>
        <translation>Вийміть USB-накопичувач, а потім виберіть «Перезавантажити»</translation>
    </message>
    <message>
        <source>Firmware upgrade successful</source>
        <translation>Мікропрограму успішно оновлено</translation>
    </message>
    <message>
        <source>Cancelling...</source>
        <translation>Скасування…</translation>
    </message>
    <message>
        <source>Rebooting...</source>
        <translation>Перезавантаження…</translation>
    </message>
</context>
</TS>
