<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="zh_CN">
<context>
    <name>EarsePanel</name>
    <message>
        <source>Form</source>
        <translation>Clear the board</translation>
    </message>
    <message>
        <source>&gt;&gt;&gt; 右滑清屏</source>
        <translation>&gt;&gt; Slide to clear</translation>
    </message>
</context>
<context>
    <name>ScreenShot</name>
    <message>
        <source>请拖拽一个区域</source>
        <translation>Drag to select an area</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>Yes</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>No</translation>
    </message>
    <message>
        <source>Please Drag An Rect Area</source>
        <translation>Drag to select an area</translation>
    </message>
    <message>
        <source>请自由绘制一个区域截图</source>
        <translation>Draw the area to capture</translation>
    </message>
</context>
<context>
    <name>SkedaTool</name>
    <message>
        <source>折叠或展开工具栏；拖动可移动工具栏</source>
        <translation>Fold or unfold the toolbar; drag to move it</translation>
    </message>
    <message>
        <source>选择桌面：点击穿过白板</source>
        <translation>Select desktop: clicks go through the board</translation>
    </message>
    <message>
        <source>画笔——再点一次选择颜色和粗细</source>
        <translation>Pen — click again for colour and width</translation>
    </message>
    <message>
        <source>橡皮擦——再点一次清空白板</source>
        <translation>Eraser — click again to clear the board</translation>
    </message>
    <message>
        <source>区域截图</source>
        <translation>Screenshot of a region</translation>
    </message>
    <message>
        <source>关闭白板</source>
        <translation>Close the board</translation>
    </message>
</context>
</TS>
